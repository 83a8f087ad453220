// Writes made-up logs after templates: sample_logs TEMPLATES DIRECTORY [EVENTS] [SEED]
//
// TEMPLATES is a file or a directory of files "*.txt", which share their words.
// For each log [NAME] or [NAME SOURCETYPE] of the templates it writes below DIRECTORY
//   NAME.log      the log: at least EVENTS events and 120 lines, one event in twenty cut off or odd
//   NAME.events   the whole events of it, one a line
//   NAME.times    the instant of each of those, in seconds since 1970
// and prints NAME, SOURCETYPE (NAME where the templates say none) and the instant at which the log
// ends, with tabs between them; "-" for an untimed log, whose lines do not say the date. The same
// templates and numbers give the same logs on every machine.
//
// A line of the templates is
//   # comment
//   $name = text | text     a word: one of these texts
//   [NAME SOURCETYPE]       begins a log; "[NAME SOURCETYPE untimed]" one without dates
//   ^ line                  a line at the start of the log
//   > line                  an event, as likely as the others of its log; "5> line" five times so
//   + line                  a further line of the event before
// In texts stand
//   $name             a word, itself taken as a text; $$ is a dollar sign
//   $(int:1-9)        a number; $(digits:3), $(hex:8), $(HEX:8) so many digits
//   $(pick:a|b)       one of the texts
//   $(times:1-4:text) the text so many times
//   $(date:%H:%M)     the time of the event, in UTC; $(epoch) in seconds since 1970; $(fold:9:text)
//                     the text in a field of at least nine characters, at its right with "-9"
//   $(tab)            a tab

#include <fmt/chrono.h>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <ctime>
#include <exception>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "platform/entry_point.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMinLines = 120;
constexpr std::int64_t kFirstInstant = 1'709'632'800;  // 2024-03-05T10:00:00Z
constexpr std::uint32_t kOddShare = 20;                // one in so many events

struct Template {
  std::uint32_t weight = 1;
  std::vector<std::string> lines = {};
};

struct Log {
  std::string name;
  std::string sourcetype;
  bool timed = true;
  std::vector<std::string> preamble = {};
  std::vector<Template> events = {};
};

struct Templates {
  std::map<std::string, std::vector<std::string>, std::less<>> words;
  std::vector<Log> logs;
};

std::int64_t number(std::string_view text) {
  std::int64_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) {
    throw std::runtime_error(fmt::format("\"{}\" is no number", text));
  }
  return value;
}

// The parts between separators that are outside parentheses.
std::vector<std::string> split(std::string_view text, std::string_view separator) {
  std::vector<std::string> parts(1);
  int depth = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (depth == 0 && text.substr(i).starts_with(separator)) {
      parts.emplace_back();
      i += separator.size() - 1;
      continue;
    }
    if (text[i] == '(') ++depth;
    if (text[i] == ')') --depth;
    parts.back() += text[i];
  }
  return parts;
}

void readFile(const std::filesystem::path& path, Templates& result) {
  std::ifstream file(path);
  if (!file) throw std::runtime_error("cannot read the templates");
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.starts_with('#')) continue;
    const auto gap = line.find(' ');
    const std::string mark = line.substr(0, gap);
    const std::string rest = gap == std::string::npos ? "" : line.substr(gap + 1);
    if (mark.starts_with('[')) {
      const auto names = split(line.substr(1, line.size() - 2), " ");
      result.logs.push_back({.name = names.front(),
                             .sourcetype = names.size() > 1 ? names[1] : names.front(),
                             .timed = names.size() < 3});
    } else if (mark.starts_with('$')) {
      result.words[mark.substr(1)] = split(rest.substr(2), " | ");
    } else if (result.logs.empty()) {
      throw std::runtime_error("a line before the first log: " + line);
    } else if (mark == "^") {
      result.logs.back().preamble.push_back(rest);
    } else if (mark == "+") {
      result.logs.back().events.back().lines.push_back(rest);
    } else if (mark.ends_with('>')) {
      const auto weight = mark == ">" ? 1 : number(mark.substr(0, mark.size() - 1));
      result.logs.back().events.push_back(
          {.weight = static_cast<std::uint32_t>(weight), .lines = {rest}});
    } else {
      throw std::runtime_error("not understood: " + line);
    }
  }
}

Templates readTemplates(const std::filesystem::path& path) {
  std::set<std::filesystem::path> files{path};
  if (std::filesystem::is_directory(path)) {
    files.clear();
    for (const auto& entry : std::filesystem::directory_iterator(path)) {
      if (entry.path().extension() == ".txt") files.insert(entry.path());
    }
  }
  Templates result;
  for (const auto& file : files) readFile(file, result);
  return result;
}

// Fills in the templates of one log.
class Writer {
 public:
  Writer(const Templates& templates, std::uint64_t seed) : templates_(templates), random_(seed) {}

  std::int64_t now() const { return now_; }

  void write(const Log& log, const std::filesystem::path& directory, std::size_t events) {
    std::ofstream text(directory / (log.name + ".log"), std::ios::binary);
    std::ofstream whole(directory / (log.name + ".events"), std::ios::binary);
    std::ofstream times(directory / (log.name + ".times"), std::ios::binary);
    std::size_t lines = 0;
    for (const auto& line : log.preamble) text << expand(line) << '\n';
    for (std::size_t event = 0; event < events || lines < kMinLines; ++event) {
      now_ += static_cast<std::int64_t>(below(90));
      const auto made = expand(choose(log));
      const std::string& first = made.front();
      lines += made.size();
      if (below(kOddShare) == 0) {
        text << (below(2) == 0 ? first.substr(0, below(first.size())) : expand("$odd")) << '\n';
        continue;
      }
      std::string joined;
      for (const auto& line : made) {
        text << line << '\n';
        joined += (joined.empty() ? "" : " ") + line;
      }
      whole << joined << '\n';
      times << now_ << '\n';
    }
    for (auto* stream : {&text, &whole, &times}) {
      if (!stream->flush()) throw std::runtime_error("cannot write " + log.name);
    }
  }

 private:
  // The library's distributions differ between machines; for a few choices this is even enough.
  std::uint64_t below(std::uint64_t count) { return count == 0 ? 0 : random_() % count; }

  const Template& choose(const Log& log) {
    std::uint32_t sum = 0;
    for (const auto& event : log.events) sum += event.weight;
    if (sum == 0) throw std::runtime_error(log.name + " has no events");
    auto left = below(sum);
    auto event = log.events.begin();
    for (; left >= event->weight; ++event) left -= event->weight;
    return *event;
  }

  std::vector<std::string> expand(const Template& event) {
    std::vector<std::string> lines;
    for (const auto& line : event.lines) {
      for (auto& part : split(expand(line), "\n")) lines.push_back(std::move(part));
    }
    return lines;
  }

  std::string expand(std::string_view text) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
      if (text[i] != '$' || i + 1 == text.size()) {
        result += text[i];
      } else if (text[i + 1] == '$') {
        result += text[++i];
      } else if (text[i + 1] == '(') {
        const auto end = closing(text, i + 1);
        result += call(text.substr(i + 2, end - i - 2));
        i = end;
      } else {
        auto end = i + 1;
        while (end < text.size() && text[end] >= 'a' && text[end] <= 'z') ++end;
        result += word(text.substr(i + 1, end - i - 1));
        i = end - 1;
      }
    }
    return result;
  }

  static std::size_t closing(std::string_view text, std::size_t open) {
    int depth = 0;
    for (std::size_t i = open; i < text.size(); ++i) {
      if (text[i] == '(') ++depth;
      if (text[i] == ')' && --depth == 0) return i;
    }
    throw std::runtime_error(fmt::format("not closed: {}", text.substr(open)));
  }

  std::string word(std::string_view name) {
    const auto found = templates_.words.find(name);
    if (found == templates_.words.end()) {
      throw std::runtime_error(fmt::format("the word \"{}\" is not known", name));
    }
    return expand(found->second[below(found->second.size())]);
  }

  std::uint64_t within(std::string_view range) {
    const auto dash = range.find('-', 1);
    const auto least = number(range.substr(0, dash));
    const auto most = number(range.substr(dash + 1));
    return static_cast<std::uint64_t>(least) + below(static_cast<std::uint64_t>(most - least) + 1);
  }

  std::string call(std::string_view text) {
    const auto colon = std::min(text.find(':'), text.size());
    const auto name = text.substr(0, colon);
    const auto argument = text.substr(std::min(colon + 1, text.size()));
    if (name == "int") return std::to_string(static_cast<std::int64_t>(within(argument)));
    if (name == "digits") return run("0123456789", number(argument));
    if (name == "hex") return run("0123456789abcdef", number(argument));
    if (name == "HEX") return run("0123456789ABCDEF", number(argument));
    if (name == "pick") {
      const auto parts = split(argument, "|");
      return expand(parts[below(parts.size())]);
    }
    if (name == "times") {
      const auto end = argument.find(':');
      std::string result;
      for (auto i = within(argument.substr(0, end)); i > 0; --i) {
        result += expand(argument.substr(end + 1));
      }
      return result;
    }
    if (name == "fold") {
      const auto end = argument.find(':');
      const auto width = number(argument.substr(0, end));
      const auto field = expand(argument.substr(end + 1));
      return width < 0 ? fmt::format("{:>{}}", field, -width) : fmt::format("{:<{}}", field, width);
    }
    if (name == "date") return date(argument);
    if (name == "epoch") return std::to_string(now_);
    if (name == "tab") return "\t";
    if (name == "newline") return "\n";
    throw std::runtime_error(fmt::format("\"{}\" is not known", name));
  }

  std::string run(std::string_view digits, std::int64_t count) {
    std::string result;
    while (count-- > 0) result += digits[below(digits.size())];
    return result;
  }

  std::string date(std::string_view format) const {
    const std::tm fields = fmt::gmtime(static_cast<std::time_t>(now_));
    std::array<char, 200> buffer{};
    const auto size =
        std::strftime(buffer.data(), buffer.size(), std::string(format).c_str(), &fields);
    return {buffer.data(), size};
  }

  const Templates& templates_;
  std::mt19937_64 random_;
  std::int64_t now_ = kFirstInstant;
};

// By the name of the log, so that other logs of the templates do not change it.
std::uint64_t seedOf(std::string_view name, std::uint64_t seed) {
  constexpr std::uint64_t kPrime = 1'099'511'628'211;  // of the FNV hash
  for (const char c : name) seed = (seed ^ static_cast<unsigned char>(c)) * kPrime;
  return seed;
}

}  // namespace

int programMain(std::span<const Argument> arguments) try {
  if (arguments.size() < 3 || arguments.size() > 5) {
    fmt::print(stderr, "usage: sample_logs TEMPLATES DIRECTORY [EVENTS] [SEED]\n");
    return 1;
  }
  const auto optional = [&](std::size_t index, std::int64_t otherwise) {
    return static_cast<std::uint64_t>(arguments.size() > index ? number(arguments[index].text)
                                                               : otherwise);
  };
  const auto templates = readTemplates(arguments[1].path);
  for (const auto& log : templates.logs) {
    Writer writer(templates, seedOf(log.name, optional(4, 1)));
    writer.write(log, arguments[2].path, optional(3, 200));
    fmt::print("{}\t{}\t{}\n", log.name, log.sourcetype,
               log.timed ? std::to_string(writer.now()) : "-");
  }
  return 0;
} catch (const std::exception& error) {
  fmt::print(stderr, "sample_logs: {}\n", error.what());
  return 2;
}

}  // namespace sourcetype
