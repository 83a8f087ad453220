#include "classifier/classifier_settings.h"

#include "classifier/flow_log.h"
#include "conf/message_catalog.h"
#include "util/text.h"

namespace sourcetype {
namespace {

void addWords(std::string_view list, ClassifierSettings::Keywords& words) {
  for (const auto word : split(list, " ,")) {
    if (!word.empty()) words.emplace(word);
  }
}

}  // namespace

const ClassifierSettings::Values& ClassifierSettings::loaded() {
  if (values_) return *values_;
  values_.emplace();
  Conf& conf = store_.getConf("source-classifier");
  for (const auto& stanza : store_.stanzaNames(conf, "")) {
    PropertiesMap settings;
    store_.getExactStanza(conf, settings, stanza);
    for (const auto& [key, entry] : settings.entries()) {
      if (equalsIgnoringCase(key, "ignored_filename_keywords")) {
        addWords(entry.value, values_->filename);
      } else if (equalsIgnoringCase(key, "ignored_model_keywords")) {
        addWords(entry.value, values_->model);
      } else if (!equalsIgnoringCase(key, "_raw")) {
        logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_UNKNOWN_SETTING__%s", key);
      }
    }
  }
  return *values_;
}

}  // namespace sourcetype
