#include "classifier/file_classifier_manager.h"

#include <vector>

#include "classifier/file_classifier.h"
#include "classifier/line_break_learner.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/ini_file.h"
#include "conf/message_catalog.h"
#include "timestamp/datetime_file.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

constexpr std::string_view causeText(InvalidCause cause) {
  switch (cause) {
    case InvalidCause::FailedStat:
      return "failed_stat";
    case InvalidCause::NotRegularFile:
      return "not_regular_file";
    case InvalidCause::CannotRead:
      return "cannot_read";
    case InvalidCause::Binary:
      return "binary";
  }
  return {};
}

}  // namespace

std::vector<std::string> sourceStanzas(const std::filesystem::path& path,
                                       std::string_view sourcetype) {
  std::vector<std::string> names{"source::" + pathToText(path)};
  if (!sourcetype.empty()) names.emplace_back(sourcetype);
  return names;
}

FileClassifierManager::FileClassifierManager(ConfStore& store)
    : store_(store), settings_(store), rules_(store), models_(store, settings_) {}

void FileClassifierManager::findTypeForFile(PropertiesMap& result, const TypeRequest& request) {
  const std::size_t modelsBefore = models_.addedModels();
  FileClassifier file(*this, result, request);
  for (const auto stage : {&FileClassifier::runFlow, &FileClassifier::detectHeaderIfAsked,
                           &FileClassifier::keepWhatIsNew}) {
    try {
      (file.*stage)();
    } catch (const std::exception& error) {  // what is in the result by then stands
      logMessage(LogLevel::Error, kFlowLog, "FILE_CLASSIFIER_ERROR_GETTING_TYPE__%s",
                 pathToText(request.path));
      logDebug(kFlowLog, "%s", error.what());
    }
  }
  if (file.madeSourcetype() || models_.addedModels() > modelsBefore) models_.adjustMaxDist();
}

void FileClassifierManager::learnFile(const std::filesystem::path& path,
                                      std::string_view sourcetype, Training training,
                                      std::uint64_t maxLines) {
  if (const auto reason = sourcetypeProblem(sourcetype); !reason.empty()) {
    logError(kFlowLog, "Cannot learn the file %s as sourcetype \"%s\": %s.", pathToText(path),
             sourcetype, reason);
    if (training == Training::Yes) models_.keepForgotten();
    return;
  }
  const std::size_t modelsBefore = models_.addedModels();
  PropertiesMap props;
  store_.getStanzaSettings(store_.getProps(), props, sourceStanzas(path), PatternMatching::Yes);
  std::error_code error;
  const auto sample = readSample(path, props, maxLines, Keep::Lines, error);
  if (!sample) {
    logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_CANNOT_OPEN__%s", pathToText(path));
  }
  if (training == Training::Yes && error && !isMissingFile(error)) {
    models_.keepForgotten();
  } else if (sample) {
    models_.trainModels(pathToText(path), *sample, sourcetype);
  }
  const bool isLast = training == Training::No;
  if (isLast && models_.addedModels() > modelsBefore) models_.adjustMaxDist();
}

void FileClassifierManager::trainFromConf(const std::filesystem::path& trainingFile) {
  std::error_code error;
  const IniFile training = IniFile::read(trainingFile, error);
  if (error && !isMissingFile(error)) return;  // who knows what it lists
  if (error) {
    logWarn(kFlowLog, "There is no training file %s.",
            pathToText(absolutePath(trainingFile).lexically_normal()));
  }
  models_.forget();
  for (const auto& [sourcetype, stanza] : training.stanzas()) {
    logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_TRAINING__%s", sourcetype);
    for (const auto& [key, setting] : stanza.settings) {
      if (key.starts_with('_')) continue;
      logInfo(kFlowLog, "\twith file:%s", setting.value);
      learnFile(pathFromText(setting.value), sourcetype, Training::Yes);
    }
  }
  models_.dropForgotten();
  models_.adjustMaxDist();
}

void FileClassifierManager::getSourcetypeSettings(PropertiesMap& result,
                                                  std::string_view sourcetype) {
  const std::string name(sourcetype);
  store_.getStanzaSettings(store_.getProps(), result, std::span(&name, 1), PatternMatching::No);
  expressionCheck_.check(result);
  result.set(key::kSourcetype, sourcetype);
  if (!result.tryGet(key::kIsValid)) {
    result.set(key::kIsValid, flagText(!result.tryGet(key::kInvalidCause)));
  }
}

const TimestampFormats& FileClassifierManager::timestampFormats() {
  if (!timestampFormats_) timestampFormats_ = readDatetimeFile(store_.root() / "datetime.xml");
  return *timestampFormats_;
}

void FileClassifierManager::markInvalid(PropertiesMap& result, const std::filesystem::path& path,
                                        InvalidCause cause) {
  result.set(key::kIsValid, flagText(false));
  result.set(key::kSourcetype, kUnknownSourcetype);
  result.set(key::kInvalidCause, causeText(cause));
  logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_INVALID_FILE__%s_%s", pathToText(path),
             causeText(cause));
}

}  // namespace sourcetype
