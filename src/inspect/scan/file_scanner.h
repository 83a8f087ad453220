// Classifies files, compressed files and members of archives, each to one row. Nothing is written,
// and no file changes the answer for another one.
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "classifier/classifier_settings.h"
#include "classifier/type_request.h"
#include "conf/properties_map.h"
#include "inspect/explain/explanation.h"
#include "inspect/scan/file_walk.h"
#include "inspect/scan/scan_row.h"
#include "inspect/trial_run.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// What an examiner gets of a file. The parts live as long as its call.
struct ClassifiedFile {
  const ScanRow& row;
  const TypeRequest& request;
  const PropertiesMap& result;
  const Explanation& evidence;
  const TimestampFormats& formats;
  TrialRun& run;  // that classified the file, with the edits that the tool would make
};

// For one thread: has configuration and models of its own.
class FileScanner {
 public:
  using Sink = std::function<void(ScanRow)>;
  // Called with each file that was classified. Returns the details of its row. May be called by
  // several threads at once.
  using Examiner = std::function<std::string(const ClassifiedFile&)>;

  // `etc` is the configuration tree. With an examiner, the evidence also has what did not decide,
  // and the run makes the edits of a run that learns, in memory, and looks for a header line.
  explicit FileScanner(std::filesystem::path etc, Examiner examine = {});

  // Calls `sink` with each row of the file. Throws nothing for the sake of the file: what is wrong
  // with it is in its row.
  void scan(const FileWalk::Found& found, const Sink& sink);

 private:
  class Observer;

  void scanReadable(const std::filesystem::path& file, const Sink& sink);
  void scanArchive(const std::filesystem::path& file, const Sink& sink);
  ScanRow classify(std::string name, TypeRequest request, bool isCut);
  void examineSample(ScanRow& row, const Sample& sample, const PropertiesMap& settings);

  // The configuration, and what was read of it.
  struct Tool {
    explicit Tool(const std::filesystem::path& etc) : run(etc) {}

    TrialRun run;
    ClassifierSettings settings{run.store()};
  };
  Tool& cleanTool();

  std::filesystem::path etc_;
  std::optional<Tool> tool_;
  TimestampFormats formats_;
  Examiner examine_;
};

}  // namespace sourcetype
