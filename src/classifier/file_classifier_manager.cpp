#include "classifier/file_classifier_manager.h"

#include "classifier/file_classifier.h"
#include "classifier/flow_log.h"
#include "classifier/models/distance_limits.h"
#include "classifier/models/model_retraining.h"
#include "classifier/sample.h"
#include "classifier/type_name.h"
#include "conf/ini_file.h"
#include "conf/message_catalog.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {}  // namespace

void FileClassifierManager::findTypeForFile(PropertiesMap& result, const TypeRequest& request) {
  FileClassifier(context_, result, request).classify();
}

void FileClassifierManager::learnFile(const std::filesystem::path& path,
                                      std::string_view sourcetype, ModelRetraining* retraining,
                                      std::uint64_t maxLines) {
  ModelStore& models = context_.models();
  if (const auto reason = sourcetypeProblem(sourcetype); !reason.empty()) {
    logError(kFlowLog, "Cannot learn the file %s as sourcetype \"%s\": %s.", pathToText(path),
             sourcetype, reason);
    if (retraining != nullptr) retraining->keepUnlearned();
    return;
  }
  const std::size_t modelsBefore = models.addedModels();
  PropertiesMap props;
  context_.store().getStanzaSettings(context_.store().getProps(), props, sourceStanzas(path),
                                     PatternMatching::Yes);
  std::error_code error;
  const auto sample = readSample(path, props, maxLines, Keep::Lines, error);
  if (!sample) {
    logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_CANNOT_OPEN__%s", pathToText(path));
  }
  if (retraining == nullptr) {
    if (sample) models.trainModels(pathToText(path), *sample, sourcetype);
    if (models.addedModels() > modelsBefore) adjustMaxDist(context_.store());
  } else if (error && !isMissingFile(error)) {
    retraining->keepUnlearned();
  } else if (sample) {
    retraining->learn(pathToText(path), *sample, sourcetype);
  }
}

void FileClassifierManager::trainFromConf(const std::filesystem::path& trainingFile) {
  std::error_code error;
  const IniFile training = IniFile::read(trainingFile, error);
  if (error && !isMissingFile(error)) return;  // it may list files
  if (error) {
    logWarn(kFlowLog, "There is no training file %s.",
            pathToText(absolutePath(trainingFile).lexically_normal()));
  }
  ModelRetraining retraining(context_.store(), context_.models());
  for (const auto& [sourcetype, stanza] : training.stanzas()) {
    logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_TRAINING__%s", sourcetype);
    for (const auto& [key, setting] : stanza.settings) {
      if (key.starts_with('_')) continue;
      logInfo(kFlowLog, "\twith file:%s", setting.value);
      learnFile(pathFromText(setting.value), sourcetype, &retraining);
    }
  }
  retraining.finish();
  adjustMaxDist(context_.store());
}

void FileClassifierManager::getSourcetypeSettings(PropertiesMap& result,
                                                  std::string_view sourcetype) {
  sourcetype::getSourcetypeSettings(context_, result, sourcetype);
}

}  // namespace sourcetype
