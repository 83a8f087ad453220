#include "classifier/models/model_retraining.h"

#include <algorithm>

#include "classifier/models/model.h"
#include "classifier/models/model_log.h"
#include "conf/stanza_kinds.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

void logKept(std::string_view source) {
  logWarn(kModelLog, "What was learned of %s before is kept.", source);
}

}  // namespace

ModelRetraining::ModelRetraining(ConfStore& store, ModelStore& models)
    : store_(store), models_(models), addedBefore_(models.addedModels()) {
  models_.forget();
  Conf& conf = store_.getConf("sourcetypes");
  const auto file = store_.learnedFile(conf);
  store_.visitStanzas(conf, [&](std::string_view stanza, auto settings) {
    if (stanza == kDefaultStanza || settings.empty()) return;
    if (store_.settingFile(conf, stanza, settings.front().key()) != file) return;  // a bundled one
    const auto source = std::ranges::find(settings, kSourceKey, &ConfFile::Setting::key);
    oldStanzas_[source == settings.end() ? "" : std::string(source->value())].emplace(stanza);
  });
  store_.reload(conf);
}

void ModelRetraining::learn(std::string_view fileName, const Sample& sample,
                            std::string_view sourcetype) {
  const std::size_t added = models_.addedModels();
  const std::size_t failed = models_.failedModels();
  models_.trainModels(fileName, sample, sourcetype);
  const std::string source(trimBlanks(fileName));  // as saveModel() writes it
  if (models_.addedModels() > added) learnedSources_.insert(source);
  if (models_.failedModels() == failed) return;
  if (oldStanzas_.erase(source) > 0) logKept(source);
  keepUnlearned();
}

void ModelRetraining::finish() {
  ConfStore::StanzaNames old;
  for (auto& [source, stanzas] : oldStanzas_) {
    if (!keepsUnlearned_ || learnedSources_.contains(source)) {
      old.merge(stanzas);
    } else {
      logKept(source);
    }
  }
  oldStanzas_.clear();
  const auto& added = models_.addedStanzas();
  const ConfStore::StanzaNames ofThisRun(added.begin() + static_cast<std::ptrdiff_t>(addedBefore_),
                                         added.end());
  Conf& conf = store_.getConf("sourcetypes");
  const auto dropped = store_.dropLearnedStanzas(conf, old, ofThisRun);
  if (dropped.error) {
    logError(kModelLog, "reset failed to unlink %s: %m", pathToText(store_.learnedFile(conf)),
             dropped.error);
  } else if (dropped.stanzas > 0) {
    const auto copy = absolutePath(dropped.copy);
    auto original = copy;
    original.replace_extension();  // without ".old"
    logWarn(kModelLog, "Learned models set aside in %s: %lu. To restore them, rename it to %s.",
            pathToText(copy), dropped.stanzas, pathToText(original));
  }
  models_.reload();  // the file may hold more than this run has added
}

}  // namespace sourcetype
