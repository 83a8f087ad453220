// What the tool has learned: models of the text of files, by sourcetype, kept in sourcetypes.conf.
#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classifier/classifier_settings.h"
#include "classifier/models/fingerprint.h"
#include "classifier/models/model_index.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"

namespace sourcetype {

// Fewer lines say too little to recognise a file or to learn from it.
inline constexpr std::size_t kMinModelLines = 100;

// A model at most this far away is the same sourcetype. Line shapes alone can add up to 600: 50 are
// left for the words of a file that shares no shape.
inline constexpr float kAcceptDistance = 650.0F;

// Numbers that only have to differ from one another, for the names of stanzas.
class StanzaNumbers {
 public:
  explicit StanzaNumbers(std::uint32_t seed) : seed_(seed) {}
  std::uint32_t next();

 private:
  std::mutex mutex_;
  std::uint32_t seed_;
};

class ModelStore {
 public:
  // Both must outlive the object. Models are read when they are first needed.
  ModelStore(ConfStore& store, ClassifierSettings& settings);

  // The sourcetype of the model that is closest to one of the first 5 segments of the sample, a
  // thousand lines each. Nothing when none is close enough, or the sample has too few lines.
  std::optional<std::string> matchModels(std::string_view fileName, const Sample& sample);

  // That model's distance as well, however far it is.
  std::optional<ModelIndex::Closest> findClosest(const Sample& sample);

  // Learns each of the first 20 segments that no model of `sourcetype` is close to, until that
  // sourcetype has `maxModels` or a model cannot be stored. True when a model was added or a
  // segment was close to some model.
  bool trainModels(std::string_view fileName, const Sample& sample, std::string_view sourcetype,
                   std::size_t maxModels = std::numeric_limits<std::size_t>::max());

  // Models held of a sourcetype.
  std::size_t countModels(std::string_view sourcetype);

  // Names of the stanzas of the models that were added in this run, in their order.
  const std::vector<std::string>& addedStanzas() const { return addedStanzas_; }
  // Models added in this run, and those that could not be stored.
  std::size_t addedModels() const { return addedStanzas_.size(); }
  std::size_t failedModels() const { return failedModels_; }

  // Forgets every model. Their file keeps them.
  void forget() { models_.emplace(); }
  // The next look at the models reads their file again.
  void reload() { models_.reset(); }

 private:
  ModelIndex& models();
  const std::string& inheritedMaxDist();
  bool hasEnoughLines(std::string_view fileName, const Sample& sample) const;
  bool addModel(std::string_view fileName, const Fingerprint& model, std::string_view sourcetype);
  std::string makeStanzaName(std::string_view fileName);

  ConfStore& store_;
  ClassifierSettings& settings_;
  StanzaNumbers stanzaNumbers_;
  std::optional<ModelIndex> models_;
  std::optional<std::string> inheritedMaxDist_;  // of the stanza [default] of sourcetypes.conf
  std::vector<std::string> addedStanzas_;
  std::size_t failedModels_ = 0;
};

}  // namespace sourcetype
