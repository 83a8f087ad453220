// Runs the classifier for one file without writing: its edits stay in memory.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "classifier/file_classifier_manager.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"

namespace sourcetype {

// A server's configuration as one run of the tool sees it.
class TrialRun {
 public:
  // `edits` apply before anything is read.
  explicit TrialRun(const std::filesystem::path& etc, const MemoryStorage::Changes& edits = {});

  ConfStore& store() { return store_; }
  const MemoryStorage& edits() const { return edits_; }
  FileClassifierManager& manager() { return manager_; }

 private:
  MemoryStorage edits_;
  ConfStore store_;
  FileClassifierManager manager_{store_};
};

// A file that the command line names.
struct InputWord {
  std::filesystem::path path;
  std::optional<std::string> text;  // standard input, for the word "-"
};

// Throws InspectError if the file does not exist or standard input cannot be read. Of standard input
// it reads at most as many bytes as the classifier reads of a file.
InputWord resolveInput(const std::string& word);

}  // namespace sourcetype
