// How well learned models tell real logs apart: recognition DIRECTORY
//
// Each file of the directory is learned from the first half of its lines, under its own name, and
// the second half is then classified without any rules. Prints, for each, the closest model and its
// distance, and the same when the file's own models are left out.

#include <fmt/core.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "classifier/classifier_settings.h"
#include "classifier/models/model_store.h"
#include "classifier/sample.h"
#include "conf/conf_file.h"
#include "conf/conf_store.h"
#include "corpus.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype::bench {
namespace {

struct Halves {
  Sample first;
  Sample second;
};

Halves halvesOf(const std::filesystem::path& file) {
  const FileBytes bytes = readFile(file, ConfFile::kMaxBytes);
  const auto text = bytes.view();
  const auto lines = std::ranges::count(text, '\n');
  std::size_t middle = 0;
  for (auto line = lines / 2; line > 0; --line) middle = text.find('\n', middle) + 1;
  return {.first = readSampleText(text.substr(0, middle), {}, "first half"),
          .second = readSampleText(text.substr(middle), {}, "second half")};
}

// A store that has learned every first half but one.
class Learned {
 public:
  Learned(const std::map<std::string, Halves>& logs, const std::string& leftOut)
      : root_(workDirectory() / ("learned-" + leftOut)),
        store_(made(root_)),
        settings_(store_),
        models_(store_, settings_) {
    for (const auto& [name, halves] : logs) {
      if (name != leftOut) models_.trainModels(name, halves.first, name);
    }
  }

  std::optional<ModelIndex::Closest> closest(const Sample& sample) {
    return models_.findClosest(sample);
  }

 private:
  // The bundled configuration says which words models leave out.
  static const std::filesystem::path& made(const std::filesystem::path& root) {
    std::filesystem::copy(SOURCETYPE_ETC_DIR, root, std::filesystem::copy_options::recursive);
    return root;
  }

  std::filesystem::path root_;
  ConfStore store_;
  ClassifierSettings settings_;
  ModelStore models_;
};

std::string shown(const std::optional<ModelIndex::Closest>& closest) {
  if (!closest) return fmt::format("{:<18} {:>9} {:<8}", "-", "", "");
  return fmt::format("{:<18} {:>9.2f} {:<8}", closest->sourcetype, closest->distance,
                     closest->distance <= kAcceptDistance ? "claimed" : "");
}

void run(const std::filesystem::path& directory) {
  std::map<std::string, Halves> logs;
  std::error_code error;
  for (const auto& name : listDirectory(directory, error)) {
    if (name.extension() == ".log") logs.emplace(name.stem(), halvesOf(directory / name));
  }
  if (error) fmt::print(stderr, "{}: {}\n", directory.string(), error.message());
  fmt::print("{:<18} {:<37} {}\n", "second half of", "closest model", "without its own models");
  Learned all(logs, "");
  for (const auto& [name, halves] : logs) {
    Learned others(logs, name);
    fmt::print("{:<18} {} {}\n", name, shown(all.closest(halves.second)),
               shown(others.closest(halves.second)));
  }
}

}  // namespace
}  // namespace sourcetype::bench

int main(int argc, char** argv) {
  if (argc != 2) {
    fmt::print(stderr, "usage: {} DIRECTORY\n", argv[0]);
    return 2;
  }
  sourcetype::bench::run(argv[1]);
}
