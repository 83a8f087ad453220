#include "inspect/evaluate/labelled_files.h"

#include <fmt/core.h>

#include <algorithm>
#include <map>
#include <string_view>
#include <tuple>

#include "classifier/type_name.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/text.h"

namespace sourcetype {
namespace {

namespace fs = std::filesystem;

// Enough for a million files with long names. A larger file is probably a log.
constexpr std::size_t kMaxListBytes = std::size_t{256} << 20U;

// Limits the problems of one list: if the file is not a list, every line has one.
constexpr std::size_t kMaxListProblems = 10;

class Reader {
 public:
  void readWord(const std::string& word) {
    if (isDirectory(pathFromText(word))) {
      readFolder(word);
    } else {
      readList(word);
    }
  }

  LabelledFiles result() {
    removeRepeated();
    return std::move(found_);
  }

 private:
  void complain(std::string problem) { found_.problems.push_back(std::move(problem)); }

  void readList(const std::string& word) {
    const FileBytes list = readFile(pathFromText(word), kMaxListBytes);
    if (list.error) return complain(word + ": " + list.error.message());
    std::string_view rest = list.view();
    constexpr std::string_view kMark = "\xEF\xBB\xBF";
    if (rest.starts_with(kMark)) rest.remove_prefix(kMark.size());
    std::size_t number = 0;
    std::size_t problems = 0;
    while (!rest.empty()) {
      const auto line = rest.substr(0, rest.find('\n'));
      rest.remove_prefix(std::min(line.size() + 1, rest.size()));
      const auto problem = readLine(line);
      ++number;
      if (problem.empty() || ++problems > kMaxListProblems) continue;
      complain(fmt::format("{}:{}: {}", word, number, problem));
    }
    if (problems > kMaxListProblems) {
      complain(fmt::format("{}: {} more lines with problems", word, problems - kMaxListProblems));
    }
  }

  // Returns what is wrong with a line; empty if nothing is.
  std::string readLine(std::string_view line) {
    if (line.ends_with('\r')) line.remove_suffix(1);
    const auto trimmed = trimBlanks(line);
    if (trimmed.empty() || trimmed.starts_with('#')) return {};
    const auto tab = line.rfind('\t');  // names of files may contain tabs
    if (tab == std::string_view::npos) return "the line has no tab between file and sourcetype";
    if (tab == 0) return "the line has no file";
    const auto sourcetype = trimBlanks(line.substr(tab + 1));
    if (const auto problem = sourcetypeProblem(sourcetype); !problem.empty()) {
      return fmt::format("the sourcetype \"{}\" cannot be stored: {}", sourcetype, problem);
    }
    found_.files.push_back(
        {.file = std::string(line.substr(0, tab)), .sourcetype = std::string(sourcetype)});
    return {};
  }

  void readFolder(const std::string& word) {
    std::error_code error;
    const auto folder = pathFromText(word);
    const auto names = listDirectory(folder, error);
    if (error) return complain(word + ": " + error.message());
    for (const auto& name : names) {
      const auto path = folder / name;
      const auto sourcetype = pathToText(name);
      if (!isDirectory(path)) {
        complain(pathToText(path) + ": the file is in no folder of a sourcetype");
      } else if (const auto problem = sourcetypeProblem(sourcetype); !problem.empty()) {
        complain(fmt::format("{}: the sourcetype \"{}\" cannot be stored: {}", pathToText(path),
                             sourcetype, problem));
      } else {
        addFilesBelow(path, sourcetype);
      }
    }
  }

  // Does not follow links to folders, which may form a circle.
  void addFilesBelow(const fs::path& folder, const std::string& sourcetype) {
    std::error_code error;
    const auto names = listDirectory(folder, error);
    if (error) return complain(pathToText(folder) + ": " + error.message());
    for (const auto& name : names) {
      const auto path = folder / name;
      if (!isDirectory(path)) {
        found_.files.push_back({.file = pathToText(path), .sourcetype = sourcetype});
      } else if (!fs::is_symlink(path, error)) {
        addFilesBelow(path, sourcetype);
      }
    }
  }

  // A file that is learned and then classified would always be right.
  void removeRepeated() {
    std::map<fs::path, std::string> seen;  // the sourcetype of each file
    std::vector<LabelledFile> kept;
    for (auto& labelled : found_.files) {
      const auto path = absolutePath(pathFromText(labelled.file)).lexically_normal();
      const auto [place, isNew] = seen.emplace(path, labelled.sourcetype);
      if (!isNew) {
        complain(fmt::format("{}: the file is listed before, with the sourcetype \"{}\"",
                             labelled.file, place->second));
      } else {
        kept.push_back(std::move(labelled));
      }
    }
    std::ranges::sort(kept, {}, [](const LabelledFile& labelled) {
      return std::tie(labelled.sourcetype, labelled.file);
    });
    found_.files = std::move(kept);
  }

  LabelledFiles found_;
};

}  // namespace

LabelledFiles readLabelledFiles(std::span<const std::string> words) {
  Reader reader;
  for (const auto& word : words) reader.readWord(word);
  return reader.result();
}

}  // namespace sourcetype
