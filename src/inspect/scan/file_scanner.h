// Classifies files, compressed files and members of archives, each to one row. Nothing is learned
// and nothing is written.
#pragma once

#include <filesystem>
#include <functional>
#include <string>

#include "classifier/classifier_settings.h"
#include "classifier/file_classifier_manager.h"
#include "classifier/type_request.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"
#include "inspect/scan/file_walk.h"
#include "inspect/scan/scan_row.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// For one thread: has configuration and models of its own.
class FileScanner {
 public:
  using Sink = std::function<void(ScanRow)>;
  // Called with each file that was classified, and with the forms of timestamps. Returns the details
  // of its row. May be called by several threads at once.
  using Examiner =
      std::function<std::string(const ScanRow&, const TypeRequest&, const TimestampFormats&)>;

  // `etc` is the configuration tree.
  explicit FileScanner(const std::filesystem::path& etc, Examiner examine = {});

  // Calls `sink` with each row of the file. Throws nothing for the sake of the file: what is wrong
  // with it is in its row.
  void scan(const FileWalk::Found& found, const Sink& sink);

 private:
  class Observer;

  void scanReadable(const std::filesystem::path& file, const Sink& sink);
  void scanArchive(const std::filesystem::path& file, const Sink& sink);
  ScanRow classify(std::string name, TypeRequest request, bool isCut);
  void examineSample(ScanRow& row, const Sample& sample, const PropertiesMap& settings);

  MemoryStorage edits_;
  ConfStore store_;
  FileClassifierManager manager_;
  ClassifierSettings settings_;
  TimestampFormats formats_;
  Examiner examine_;
};

}  // namespace sourcetype
