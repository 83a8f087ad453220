#include "classifier/models/model_store.h"

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kModelLog{"FileClassifierManager"};

}  // namespace

ModelStore::ModelStore(ConfStore& store, ClassifierSettings& settings)
    : store_(store), settings_(settings) {}

std::optional<std::string> ModelStore::matchModels(std::string_view fileName,
                                                   const Sample& /*sample*/) {
  logDebug(kModelLog, "Finding type for file: %s", fileName);
  settings_.ignoredModelKeywords();
  return std::nullopt;
}

bool ModelStore::trainModels(std::string_view /*fileName*/, const Sample& /*sample*/,
                             std::string_view /*sourcetype*/) {
  return false;
}

std::size_t ModelStore::countModels(std::string_view /*sourcetype*/) {
  return 0;
}

void ModelStore::reset() {
  Conf& conf = store_.getConf("sourcetypes");
  const auto file = store_.learnedFile(conf);
  if (const auto error = removeFile(file)) {
    logError(kModelLog, "reset failed to unlink %s: %m", pathToText(file), error);
  }
  store_.reload(conf);
}

}  // namespace sourcetype
