#include "inspect/scan/file_scanner.h"

#include <algorithm>
#include <array>
#include <exception>
#include <span>
#include <string_view>
#include <utility>

#include "classifier/models/model_store.h"
#include "classifier/properties.h"
#include "classifier/sample.h"
#include "inspect/scan/archive_reader.h"
#include "inspect/scan/sample_events.h"
#include "platform/file_system.h"
#include "platform/interrupt.h"
#include "platform/path_form.h"
#include "timestamp/datetime_file.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

// The cause of an invalid file that could be read, but is no text.
constexpr std::string_view kBinaryCause = "binary";

ScanRow unreadable(std::string file, std::string error) {
  ScanRow row;
  row.file = std::move(file);
  row.sourcetype = kUnknownSourcetype;
  row.error = std::move(error);
  return row;
}

// The first lines, as many as a model is learned from.
Fingerprint fingerprintOf(const Sample& sample, const ClassifierSettings::Keywords& ignored) {
  constexpr std::size_t kSegmentLines = 1000;
  const std::size_t lines = sample.lineCount() < kSegmentLines ? kMinModelLines : kSegmentLines;
  return buildModel(sample, 0, lines - 1, ignored);
}

}  // namespace

// Keeps what decided, and examines the sample while it exists.
class FileScanner::Observer final : public Explanation {
 public:
  Observer(FileScanner& scanner, ScanRow& row, const TypeRequest& request,
           const PropertiesMap& result)
      : scanner_(scanner), row_(row), request_(request), result_(result) {}

  // Only an examiner uses it.
  bool wantsLosers() const override { return scanner_.examine_ != nullptr; }
  void sampled(const Sample& sample) override {
    Explanation::sampled(sample);
    sample_ = &sample;
  }
  void ended(Stage stage) override {
    Explanation::ended(stage);
    row_.stage = stage;
    row_.margin = margin();
    if (stage == Stage::Invalid) return;
    // The flow needs no lines of a file whose sourcetype is configured.
    std::optional<Sample> own;
    if (stage == Stage::Configured && (sample_ == nullptr || sample_->lineCount() == 0)) {
      own = readAgain();
      sample_ = own ? &*own : nullptr;
    }
    if (sample_ != nullptr) scanner_.examineSample(row_, *sample_, result_);
  }

 private:
  std::optional<Sample> readAgain() const {
    const PropertiesMap props{{key::kCharset, result_.get(key::kCharset)}};
    if (request_.sampleText) return readSampleText(*request_.sampleText, props, row_.file);
    return readSample(request_.path, props, request_.maxLines);
  }

  FileScanner& scanner_;
  ScanRow& row_;
  const TypeRequest& request_;
  const PropertiesMap& result_;
  const Sample* sample_ = nullptr;
};

FileScanner::FileScanner(path etc, Examiner examine)
    : etc_(std::move(etc)),
      formats_(readDatetimeFile(etc_ / "datetime.xml")),
      examine_(std::move(examine)) {}

// A configuration without the edits of other files: what the run learned of them must not decide.
FileScanner::Tool& FileScanner::cleanTool() {
  if (!tool_ || !tool_->run.edits().changes().empty()) tool_.emplace(etc_);
  return *tool_;
}

void FileScanner::scan(const FileWalk::Found& found, const Sink& sink) {
  const std::string name = pathToText(found.path);
  if (!found.error.empty()) return sink(unreadable(name, found.error));
  try {
    scanReadable(found.path, sink);
  } catch (const std::exception& error) {
    sink(unreadable(name, error.what()));
  }
}

void FileScanner::scanReadable(const path& file, const Sink& sink) {
  std::array<char, kArchiveHeadBytes> head;
  std::string_view beginning;
  std::uint64_t size = 0;
  {
    InputFile opened(file);
    beginning = {head.data(), opened.read(head)};
    size = opened.size();
    if (opened.error()) return sink(unreadable(pathToText(file), opened.error().message()));
  }
  if (isArchive(beginning)) return scanArchive(file, sink);
  ScanRow row = classify(pathToText(file), {.path = file}, false);
  row.isCut = row.bytes && size > *row.bytes;
  sink(std::move(row));
}

void FileScanner::scanArchive(const path& file, const Sink& sink) {
  const std::string name = pathToText(file);
  ArchiveReader archive(file);
  while (auto member = archive.next()) {
    const bool hasText = !member->text.empty() || member->error.empty();
    const std::string memberName = member->name.empty() ? name : name + "!" + member->name;
    ScanRow row = hasText ? classify(memberName,
                                     {.path = nameInConfiguration(file, member->name),
                                      .sampleText = std::move(member->text)},
                                     member->isCut)
                          : unreadable(memberName, {});
    row.error = std::move(member->error);
    sink(std::move(row));
    if (interrupted()) return;
  }
}

ScanRow FileScanner::classify(std::string name, TypeRequest request, bool isCut) {
  ScanRow row;
  row.file = std::move(name);
  row.isCut = isCut;
  PropertiesMap result;
  Observer observer(*this, row, request, result);
  request.isTrial = examine_ == nullptr;
  request.observer = &observer;
  TrialRun& run = cleanTool().run;
  run.manager().findTypeForFile(result, request);
  row.sourcetype = result.get(key::kSourcetype);
  if (const auto cause = result.tryGet(key::kInvalidCause); cause && *cause != kBinaryCause) {
    row.error = *cause;
  }
  if (examine_) {
    row.details = examine_({.row = row,
                            .request = request,
                            .result = result,
                            .evidence = observer,
                            .formats = formats_,
                            .run = run});
  }
  return row;
}

void FileScanner::examineSample(ScanRow& row, const Sample& sample, const PropertiesMap& settings) {
  const auto events = examineEvents(sample, settings, formats_, row.file);
  row.bytes = sample.bytesRead();
  row.events = events.count;
  row.first = events.first;
  row.last = events.last;
  if (!row.isRecognised() && sample.lineCount() >= kMinModelLines) {
    row.fingerprint = fingerprintOf(sample, tool_->settings.ignoredModelKeywords());
  }
}

}  // namespace sourcetype
