// The command line and what it prints. Input: standard input, training.conf, props.conf, the text
// of the file "a.log", which comes a hundred lines long, and the words.
//
// Words and lists name files of the working directory only: an input with a "/" in them is not
// tried. Neither is the mode "leaks", which repeats one classification without end.
#include <algorithm>
#include <cstdio>

#include "classifier/file_classifier_manager.h"
#include "main/driver.h"
#include "stanzas.h"
#include "support.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype::fuzzing {
namespace {

using Words = std::vector<std::string_view>;

constexpr std::size_t kMaxWords = 6;
constexpr const char* kProgram = "sourcetype";
constexpr std::string_view kFileOption = "--file=";
constexpr std::string_view kMap = "PropertiesMap: {\n";

struct Run {
  int status;
  std::string printed;
};

Run runWith(const Words& words) {
  std::vector<Argument> arguments{{.path = kProgram, .text = kProgram}};
  for (const auto word : words) arguments.push_back({.path = word, .text = std::string(word)});
  require(std::freopen("stdin.txt", "rb", stdin) != nullptr, "standard input opens");
  require(std::freopen("stdout.txt", "wb", stdout) != nullptr, "standard output opens");
  ConfStore store(tree().root());
  const int status = runDriver(store, arguments);
  require(std::fflush(stdout) == 0, "standard output is written");
  return {.status = status, .printed = *tree().read("work/here/stdout.txt")};
}

bool isOption(std::string_view word) {
  return word.starts_with("--") && word.find('=') != std::string_view::npos;
}

// What "--test" prints before its result, and its file; an empty file if the test is refused.
struct TestStart {
  std::string printed;
  std::string_view file;
};
TestStart readTest(const Words& words) {
  TestStart start{};
  for (const auto word : std::span(words).subspan(1)) {
    if (!isOption(word)) {
      start.printed.append("Unrecognized option; ").append(word) += '\n';
      return {.printed = start.printed, .file = {}};
    }
    if (word.starts_with(kFileOption)) {
      start.file = word.substr(kFileOption.size());
    } else {
      start.printed.append("adding input option: ").append(word.substr(2)) += '\n';
    }
  }
  if (start.file.empty()) start.printed += "Missing required option --file=\n";
  return start;
}

// Lines as they come through a buffer of 1024 bytes, each up to its first NUL.
Words namesIn(std::string_view input) {
  constexpr std::size_t kMaxPiece = 1023;
  Words names;
  while (!input.empty()) {
    const auto piece = input.substr(0, std::min(input.find('\n'), kMaxPiece - 1) + 1);
    input.remove_prefix(piece.size());
    const auto isLine = piece.find('\0') == std::string_view::npos && piece.ends_with('\n');
    names.push_back(isLine ? piece.substr(0, piece.size() - 1) : piece.substr(0, piece.find('\0')));
  }
  return names;
}

// What "manyfiles" prints. Classifies the last file first: no answer depends on another file.
std::string manyFilesText(std::string_view input) {
  constexpr std::uint64_t kMaxLines = 1000;
  ConfStore store(tree().root());
  FileClassifierManager manager(store);
  auto names = namesIn(input);
  std::ranges::reverse(names);
  std::string text;
  for (const auto name : names) {
    PropertiesMap result;
    manager.findTypeForFile(result,
                            {.path = name, .learningAllowed = false, .maxLines = kMaxLines});
    auto verdict = result.get("invalid_cause");
    if (verdict.empty()) verdict = result.tryGet("sourcetype").value_or("unknown");
    const std::string file(name);
    text.insert(0, "FILENAME: " + file + "\nClassified\t" + file + "\t" + verdict + "\n");
  }
  return text;
}

std::string settingsText(std::string_view sourcetype) {
  ConfStore store(tree().root());
  PropertiesMap settings;
  FileClassifierManager(store).getSourcetypeSettings(settings, sourcetype);
  return settings.toString();
}

void requireResult(std::string_view printed, std::string_view file, std::string start = {}) {
  start.append("PROPERTIES OF ").append(file).append("\n").append(kMap);
  require(printed.starts_with(start) && printed.ends_with("}\n"), "a file's result is printed");
}

void requireUsage(std::string_view printed, std::string_view start) {
  require(printed.starts_with(std::string(start) + "Usage \n\n    To learn: \n        sourcetype "),
          "the usage text is printed");
}

// Requires what each mode promises. Returns whether the mode may write.
bool checkRun(const Words& words, const Run& run, std::string_view input) {
  const std::string& printed = run.printed;
  const bool isTest = words.size() > 1 && words[0] == "--test";
  const auto test = isTest ? readTest(words) : TestStart{};
  const bool isRefused = isTest && test.file.empty();
  require(run.status == (isRefused ? 1 : 0), "only a refused test has the status 1");
  if (words.empty() || isRefused) {
    requireUsage(printed, test.printed);
    return false;
  }
  const auto mode = words[0];
  if (isTest) {
    requireResult(printed, test.file, test.printed);
    return true;
  }
  if (words.size() == 1) {
    if (mode == "manyfiles") {
      require(printed == manyFilesText(input), "each name of standard input has an answer");
    } else if (mode == "speed") {
      require(printed.find("\nTIME = ") != std::string_view::npos &&
                  printed.ends_with("OF FILES = 1\n"),
              "the files of the directory are counted");
    } else if (mode == "train") {
      require(printed.empty(), "train prints nothing");
    } else {
      requireResult(printed, mode);
    }
    return mode != "manyfiles" && mode != "speed";
  }
  if (mode == "settings") {
    require(printed == settingsText(words[1]), "the settings of a sourcetype are printed");
    return false;
  }
  if (words.size() == 2) {
    const std::string file(mode);
    require(printed == "Training on " + file + " of type " + std::string(words[1]) + "\n",
            "a line says what was learned");
    return true;
  }
  if (mode != "text") require(printed.empty(), "too many words do nothing");
  if (mode == "text") requireResult(printed, words[1]);
  return mode == "text";
}

bool namesOnlyFilesHere(std::string_view text) {
  return text.find('/') == std::string_view::npos;
}

}  // namespace

std::vector<std::string> seeds() {
  const std::string props = "[default]\nCHARSET = auto\n[source::...b*]\nsourcetype = b\n";
  const std::string list = "[mine]\nf1 = a.log\n_x = b\nf2 = none\n";
  const std::string log = "2024-05-06 10:11:12 one\n2024-05-06 10:11:13 two\n";
  const auto with = [&](std::initializer_list<std::string_view> words) {
    return joined({"a.log\n\nnone\nb.log", list, props, log, joined(words)});
  };
  return {
      joined({"", "", "", ""}),
      with({"a.log"}),
      with({"--test"}),
      with({"--test", "--given_type=x=y", "--file=a.log", "--=", "--CHECK_FOR_HEADER=true"}),
      with({"--test", "--file=a.log", "-v"}),
      with({"--test", "--file=a.log", "--file="}),
      with({"manyfiles"}),
      with({"speed"}),
      with({"train"}),
      with({"settings", "default"}),
      with({"a.log", "mine"}),
      with({"text", "a.log"}),
      with({"text", "a.log", "sample\ntext", "more"}),
      with({"a", "b", "c"}),
      joined({std::string(1030, 'x') + "\na" + '\0' + "b\n\r\n", "", "", "\xFF\xFE", "manyfiles"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto standardInput = parts.next();
  const auto training = parts.next();
  const auto props = parts.next();
  const auto log = parts.next();
  const Words words = parts.all();
  if (words.size() > kMaxWords || (words.size() > 1 && words[0] == "leaks")) return;
  if (!namesOnlyFilesHere(standardInput) || !namesOnlyFilesHere(training)) return;
  for (const auto word : words) {
    if (!namesOnlyFilesHere(word) || word.find('\0') != std::string_view::npos) return;
  }
  if (findEncodingError(props)) return;  // a new sourcetype is then not written

  records().str({});
  tree().clear();
  static const XmlLibraries kLibraries;
  tree().write("system/local/props.conf", props);
  tree().write("work/here/stdin.txt", standardInput);
  tree().write("work/here/training.conf", training);
  tree().write("work/src/scripts/logs/toosmall/b", log);
  std::string text;
  while (!log.empty() && std::ranges::count(text, '\n') < 100 && text.size() < 100 * log.size()) {
    text += log;
  }
  tree().write("work/here/a.log", text);
  std::filesystem::current_path(tree().root() / "work/here");

  const auto propsBefore = stanzasOf("props");
  const auto modelsBefore = stanzasOf("sourcetypes");
  const bool mayWrite = checkRun(words, runWith(words), standardInput);
  const auto models = stanzasOf("sourcetypes");
  if (mayWrite) {
    addedStanzas(propsBefore, stanzasOf("props"), {"REPORT-AutoHeader", "KV_MODE", "maxDist"});
    require(words[0] != "train" || stanzasOf("props") == propsBefore, "train makes no sourcetype");
  } else {
    auto propsAfter = stanzasOf("props");
    std::erase_if(propsAfter, [&](const auto& stanza) {  // every mode names small files
      return stanza.first.ends_with("too_small") && !propsBefore.contains(stanza.first);
    });
    require(propsAfter == propsBefore && models == modelsBefore, "other modes learn nothing");
  }
  for (const auto& file : tree().files()) {
    require(file.starts_with("work/") || file.starts_with("system/local/") ||
                file.starts_with("apps/learned/local/"),
            "files are written where they belong");
  }
}

}  // namespace sourcetype::fuzzing
