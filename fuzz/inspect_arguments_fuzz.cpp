// The command line of sourcetype-inspect. Input: standard input, props.conf, the text of the file
// "a.log", which comes a hundred lines long, and the words.
//
// Words and lists name files of the working directory only: an input with a "/" in them is not
// tried.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>

#include "inspect/command_line.h"
#include "inspect/session.h"
#include "support.h"
#include "timestamp/xml_libraries.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

using Words = std::vector<std::string_view>;
using Files = std::map<std::string, std::string>;

constexpr std::size_t kMaxWords = 8;
constexpr const char* kProgram = "sourcetype-inspect";

struct Run {
  int status;
  std::string printed;
  std::string messages;  // on standard error
};

Run runWith(const Words& words) {
  std::vector<Argument> arguments{{.path = kProgram, .text = kProgram}};
  for (const auto word : words) arguments.push_back({.path = word, .text = std::string(word)});
  require(std::freopen("stdin.txt", "rb", stdin) != nullptr, "standard input opens");
  require(std::freopen("stdout.txt", "wb", stdout) != nullptr, "standard output opens");
  std::ostringstream messages;
  auto* const standardError = std::cerr.rdbuf(messages.rdbuf());
  const int status = runInspect(arguments);
  std::cerr.rdbuf(standardError);
  require(std::fflush(stdout) == 0, "standard output is written");
  return {.status = status,
          .printed = *tree().read("work/here/stdout.txt"),
          .messages = messages.str()};
}

bool namesOnlyFilesHere(std::string_view text) {
  return text.find('/') == std::string_view::npos;
}

bool hasWord(const Words& words, std::string_view start) {
  return std::ranges::any_of(words, [&](auto word) { return word.starts_with(start); });
}

// CLI11 takes "-h" from a group of short options too.
bool asksForHelp(const Words& words) {
  return hasWord(words, "--help") || hasWord(words, "--version") ||
         std::ranges::any_of(words, [](auto word) {
           return word.starts_with('-') && !word.starts_with("--") &&
                  word.find('h') != std::string_view::npos;
         });
}

// The length of an escape sequence for colours at the start of `text`; 0 if there is none.
std::size_t colorLength(std::string_view text) {
  constexpr std::string_view kStart = "\x1B[";
  if (!text.starts_with(kStart)) return 0;
  const auto end = text.find_first_not_of("0123456789", kStart.size());
  return end != std::string_view::npos && text[end] == 'm' ? end + 1 : 0;
}

// Ends of lines, tabs and colours are what the program itself prints.
bool isHarmless(std::string_view text, bool mayHaveColors) {
  while (!text.empty()) {
    const auto color = mayHaveColors ? colorLength(text) : 0;
    const bool isOwn = text.front() == '\n' || text.front() == '\t';
    if (color == 0 && !isOwn && controlLength(text) > 0) return false;
    text.remove_prefix(std::max<std::size_t>(color, 1));
  }
  return true;
}

bool areJsonLines(const std::string& text) {
  std::istringstream lines(text);
  for (std::string line; std::getline(lines, line);) {
    if (!Json::accept(line)) return false;
  }
  return true;
}

// Programs that apply a diff, or read CSV, get the bytes.
void checkPrinted(const Words& words, const std::string& printed) {
  const bool isJson =
      !words.empty() && words[0] == "--json" && !asksForHelp(words) && !hasWord(words, "--json=");
  require(!isJson || areJsonLines(printed), "with --json each line is JSON");
  const bool mayHaveBytes = hasWord(words, "plan") || hasWord(words, "--csv");
  require(
      mayHaveBytes || hasWord(words, "--json") || isHarmless(printed, hasWord(words, "--color")),
      "text is harmless on a terminal");
}

// All files but those of the run itself.
Files filesThere() {
  Files files;
  for (const auto& name : tree().files()) {
    if (name != "work/here/stdout.txt") files.emplace(name, *tree().read(name));
  }
  return files;
}

bool mayWrite(const Words& words) {
  const auto has = [&](std::string_view word) { return hasWord(words, word); };
  return has("report") || (has("preview") && has("--save")) ||
         (has("learned") && has("--yes") && (has("forget") || has("restore")));
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string props =
      "[default]\nCHARSET = auto\n[rule::b]\nsourcetype = b\nMORE_THAN_50 = b\n[mine]\nTZ = UTC\n";
  const std::string log = "2024-05-06 10:11:12 one\n2024-05-06 10:11:13 two\x1B[2J\n";
  const auto with = [&](std::initializer_list<std::string_view> words) {
    return joined({"a.log\n\nnone\n", props, log, joined(words)});
  };
  return {joined({"", "", "", ""}),
          with({"--help"}),
          with({"explain", "a.log", "-"}),
          with({"--json", "explain", "a.log", "none"}),
          with({"preview", "a.log", "--as", "mine", "--set", "TZ=CET", "--max=3"}),
          with({"--json", "preview", "-", "--set=TRUNCATE=5"}),
          with({"preview", "a.log", "--as=mine", "--set", "A=1", "--save"}),
          with({"plan", "a.log", "mine"}),
          with({"--json", "plan", "a.log"}),
          with({"scan", ".", "-j3", "--quiet"}),
          with({"--json", "scan", "a.log", "none"}),
          with({"scan", "--csv", "a.log"}),
          with({"report", ".", "-o", "r.html", "--json"}),
          with({"report", "a.log", "-o", "r.html", "--evaluate", "list", "-j", "2"}),
          with({"scan", "-"}),
          with({"settings", "--all", "mine", "--color=always"}),
          with({"--json", "settings", "a.log"}),
          with({"check", "--color", "always"}),
          with({"--json", "check", "a.log"}),
          with({"learned"}),
          with({"learned", "show", "old"}),
          with({"--json", "learned", "list"}),
          with({"learned", "forget", "old", "--yes"}),
          with({"learned", "restore", "--yes"}),
          with({"evaluate", "list", "--no-rules", "--folds", "3"}),
          with({"--json", "evaluate", "list", "--with-learned"}),
          with({"--home", "..", "--color", "never", "setings", "x"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto standardInput = parts.next();
  const auto props = parts.next();
  const auto log = parts.next();
  const Words words = parts.all();
  if (words.size() > kMaxWords || !namesOnlyFilesHere(standardInput)) return;
  for (const auto word : words) {
    if (!namesOnlyFilesHere(word) || word.find('\0') != std::string_view::npos) return;
  }

  static const XmlLibraries kLibraries;
  static const std::string kDatetime = repositoryFile("etc/datetime.xml");
  tree().clear();
  tree().write("work/home/etc/datetime.xml", kDatetime);
  tree().write("work/home/etc/system/local/props.conf", props);
  constexpr std::string_view kModel =
      "[a.log_2026-01-02T03:04:05Z_1]\nsourcetype = old\n_source = a\nword = 1\n";
  tree().write("work/home/etc/apps/learned/local/sourcetypes.conf", kModel);
  tree().write("work/here/stdin.txt", standardInput);
  tree().write("work/here/list", "a.log\tmine\nb.log\tmine\nc.log\tother\n");
  std::string text;
  while (!log.empty() && std::ranges::count(text, '\n') < 100 && text.size() < 100 * log.size()) {
    text += log;
  }
  for (const auto* name : {"a.log", "b.log", "c.log"}) {
    tree().write(std::string("work/here/") + name, text);
  }
  std::filesystem::current_path(tree().root() / "work/here");
  const auto home = tree().root() / "work/home";
  // No other thread runs here.
  const int isNotSet = setenv("TARNEL_HOME", home.c_str(), 1);  // NOLINT(concurrency-mt-unsafe)
  require(isNotSet == 0, "the environment is set");

  const Files before = filesThere();
  const Run done = runWith(words);
  require(done.status >= static_cast<int>(Status::Fine) &&
              done.status <= static_cast<int>(Status::Failed),
          "the status is 0, 1 or 2");
  checkPrinted(words, done.printed);
  require(isHarmless(done.messages, false), "messages are harmless on a terminal");
  require(mayWrite(words) || filesThere() == before, "nothing is written unless it is told to");
}

}  // namespace sourcetype::fuzzing
