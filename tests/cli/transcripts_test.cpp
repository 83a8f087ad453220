// The sessions of transcripts.txt, whose head says how they are written, and of inspect.txt, with the
// built executables.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <fstream>
#include <map>
#include <sstream>

#include "platform/path_form.h"
#include "support/process.h"
#include "support/system.h"
#include "support/table.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Finished;
using sourcetype::testing::Installation;
using sourcetype::testing::unescaped;
using sourcetype::testing::valueOf;

constexpr std::array kFiles{SOURCETYPE_TESTS_DIR "/cli/transcripts.txt",
                            SOURCETYPE_TESTS_DIR "/cli/inspect.txt"};

using Names = std::map<std::string, std::string>;

void replaceAll(std::string& text, const std::string& from, const std::string& to) {
  for (auto at = text.find(from); at != text.npos; at = text.find(from, at + to.size())) {
    text.replace(at, from.size(), to);
  }
}

class Session : public ::testing::Test {
 public:
  Session(std::map<int, std::string> lines, const Names& names)
      : lines_(std::move(lines)), names_(names) {
    const Names ofSystem{{"$ROOT", pathToText(server_.root())},
                         {"$SEP", {static_cast<char>(std::filesystem::path::preferred_separator)}},
                         {"$EXE", SOURCETYPE_EXECUTABLE},
                         {"$DEVICE", testing::kDevice},
                         {"$MINUS_ONE", std::to_string(testing::kMinusOneAsStatus)}};
    for (auto [name, text] : ofSystem) {
      replaceAll(text, "\\", "\\\\");
      names_[name] = text;
    }
  }

  void TestBody() override {
    for (const auto& [number, line] : lines_) {
      SCOPED_TRACE(std::to_string(number) + ": " + line);
      std::string text = line;
      // The longer of two names that begin alike comes first.
      for (auto name = names_.rbegin(); name != names_.rend(); ++name) {
        replaceAll(text, name->first, name->second);
      }
      std::istringstream words(text);
      std::string command;
      words >> command >> std::ws;
      if (command == "needs" && !has(rest(words))) GTEST_SKIP();
      if (command != "needs") act(command, words);
    }
  }

 private:
  static std::string rest(std::istream& words) {
    std::string text;
    std::getline(words, text);
    return unescaped(text);
  }
  static std::string word(std::istream& words) {
    std::string text;
    words >> text >> std::ws;
    return unescaped(text);
  }
  static bool has(const std::string& what) {
    return what == "fifos"   ? testing::kHasFifos
           : what == "links" ? testing::kHasSymbolicLinks
                             : testing::kNamesAreAnyBytes;
  }

  void act(const std::string& command, std::istream& words) {
    if (command.starts_with("run")) return run(SOURCETYPE_EXECUTABLE, command.substr(3), words);
    if (command.starts_with("timestamps")) {
      return run(TIMESTAMPS_EXECUTABLE, command.substr(10), words);
    }
    if (command.starts_with("inspect")) {
      return run(INSPECT_EXECUTABLE, command.substr(7), words);
    }
    if (command == "input") return input_.assign(rest(words)), void();
    if (command == "home") return home_.assign(rest(words)), void();
    if (command == "out") return expect(run_.out == rest(words));
    if (command == "err") return expect(run_.err == rest(words));
    if (command == "out~") return expect(run_.out.find(rest(words)) != std::string::npos);
    if (command == "err~") return expect(run_.err.find(rest(words)) != std::string::npos);
    if (command == "out!~") return expect(run_.out.find(rest(words)) == std::string::npos);
    if (command == "missing") return expect(testing::saysMissing(run_.err));
    if (command == "same") return expect(run_.out == before_.out);
    const auto name = word(words);
    if (command == "has") return expect(valueOf(run_.out, name) == rest(words));
    if (command == "models") return expect(std::to_string(storedModels()) == name);
    actOnFile(command, name, server_.path(name), rest(words));
  }

  void actOnFile(const std::string& command, const std::string& name,
                 const std::filesystem::path& path, const std::string& text) {
    if (command == "write") return server_.write(name, text), void();
    if (command == "directory") return create_directories(path), void();
    if (command == "fifo") return testing::makeFifo(path);
    if (command == "link") return create_symlink(std::filesystem::path(text), path);
    if (command == "move") return rename(path, server_.path(text));
    if (command == "remove") return remove_all(path), void();
    if (command == "nofile") return expect(!exists(path));
    const auto content = server_.read(name);
    const bool isPart = content.find(text) != std::string::npos;
    EXPECT_TRUE(command == "file"     ? content == text
                : command == "file~"  ? isPart
                : command == "file!~" ? !isPart
                                      : false)
        << content;
  }

  // `status` is "", for 0, or "=" and a number.
  void run(const char* program, const std::string& status, std::istream& words) {
    std::vector<std::string> arguments;
    while (words.good() && words.peek() != EOF) arguments.push_back(word(words));
    before_ = std::exchange(run_, server_.runProgram(program, arguments, input_, home_));
    input_.clear();
    home_ = ".";
    EXPECT_EQ(run_.status, status.empty() ? 0 : std::stoi(status.substr(1))) << run_.err;
  }

  void expect(bool holds) const {
    EXPECT_TRUE(holds) << "standard output:\n" << run_.out << "standard error:\n" << run_.err;
  }

  int storedModels() const {
    int count = 0;
    std::ifstream file(server_.path("etc/apps/learned/local/sourcetypes.conf"));
    for (std::string line; std::getline(file, line);)
      count += line.starts_with("_source =") ? 1 : 0;
    return count;
  }

  std::map<int, std::string> lines_;
  Names names_;
  Installation server_;
  Finished run_{}, before_{};
  std::string input_;
  std::string home_ = ".";
};

// Registers a test for each session of a file, "Suite.Name" in its first line. Names that one file
// defines hold in those after it. False if there is none.
bool registerSessions(const char* path, Names& names) {
  std::ifstream file(path);
  std::map<std::string, std::map<int, std::string>> sessions;
  std::string title;
  int number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    if (line.empty() || line.starts_with('#')) continue;
    if (line.starts_with('[')) {
      title = line.substr(1, line.size() - 2);
    } else if (line.starts_with("define ")) {
      std::istringstream words(line.substr(7));
      std::string name;
      words >> name >> std::ws;
      std::getline(words, names["$" + name]);
    } else {
      sessions[title][number] = line;
    }
  }
  for (const auto& [name, lines] : sessions) {
    const auto dot = name.find('.');
    ::testing::RegisterTest(
        name.substr(0, dot).c_str(), name.substr(dot + 1).c_str(), nullptr, nullptr, path,
        lines.begin()->first,
        [lines = lines, names]() -> ::testing::Test* { return new Session(lines, names); });
  }
  return !sessions.empty();
}

const bool kAreRegistered = [] {
  Names names;
  return std::ranges::all_of(kFiles,
                             [&](const char* path) { return registerSessions(path, names); });
}();

TEST(Transcripts, AreFound) {
  EXPECT_TRUE(kAreRegistered);
}

}  // namespace
}  // namespace sourcetype
