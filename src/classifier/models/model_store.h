// The learned models: fingerprints of files, each with a sourcetype, kept in sourcetypes.conf.
//
//   ModelStore models(store, settings);
//   if (auto sourcetype = models.matchModels(fileName, sample)) ...
//   models.trainModels(fileName, sample, "my_type");
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
#include "classifier/flow_observer.h"
#include "classifier/models/fingerprint.h"
#include "classifier/models/model_index.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"

namespace sourcetype {

// Lines that a sample needs to be matched or learned. Fewer are too few to recognise a file by.
inline constexpr std::size_t kMinModelLines = 100;

// A file has the sourcetype of a model that is at most this far away. Line shapes alone can add up
// to 600, which leaves 50 for the words of a file that shares no shape.
inline constexpr float kAcceptDistance = 650.0F;

// Numbers that differ from one another, for the names of stanzas. Safe from several threads.
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
  // Both must outlive the object. The models are read when they are first needed.
  ModelStore(ConfStore& store, ClassifierSettings& settings);

  // Returns the sourcetype of the closest model. Compares the first 5 segments of the sample, a
  // thousand lines each. Returns nothing when no model is close enough, and, with a WARN, when the
  // sample has too few lines. `observer`, unless it is null, is told the closest models.
  std::optional<std::string> matchModels(std::string_view fileName, const Sample& sample,
                                         FlowObserver* observer = nullptr);

  // Returns the closest model at any distance, with that distance.
  std::optional<ModelIndex::Closest> findClosest(const Sample& sample) {
    return closestSegment(sample).closest;
  }

  // Adds a model for each of the first 20 segments unless the closest model is close enough and of
  // `sourcetype`. Stops when that sourcetype has `maxModels`, or when a model cannot be stored.
  // Returns true when a model was added or some model is close to a segment.
  bool trainModels(std::string_view fileName, const Sample& sample, std::string_view sourcetype,
                   std::size_t maxModels = std::numeric_limits<std::size_t>::max());

  // Number of models of a sourcetype.
  std::size_t countModels(std::string_view sourcetype);

  // Stanza names of the models that this object has added, oldest first.
  const std::vector<std::string>& addedStanzas() const { return addedStanzas_; }
  // Numbers of models that this object has added, and that it could not store.
  std::size_t addedModels() const { return addedStanzas_.size(); }
  std::size_t failedModels() const { return failedModels_; }

  // Forgets the models that were read or added. Their file keeps them.
  void forget() {
    models_.emplace();
    stanzas_.clear();
  }
  // Makes the next use of the models read their file again.
  void reload() { models_.reset(); }

 private:
  // The segment of a sample that is closest to a model.
  struct ClosestSegment {
    std::size_t number = 0;
    std::optional<ModelIndex::Closest> closest;
  };

  ModelIndex& models();
  std::optional<Fingerprint> fingerprintOf(const Sample& sample, std::size_t segment);
  ClosestSegment closestSegment(const Sample& sample);
  void tellModels(const Sample& sample, std::size_t segment, FlowObserver& observer);
  const std::string& inheritedMaxDist();
  bool hasEnoughLines(std::string_view fileName, const Sample& sample) const;
  bool addModel(std::string_view fileName, const Fingerprint& model, std::string_view sourcetype);
  std::string makeStanzaName(std::string_view fileName);

  ConfStore& store_;
  ClassifierSettings& settings_;
  StanzaNumbers stanzaNumbers_;
  std::optional<ModelIndex> models_;
  std::vector<std::string> stanzas_;             // of models_, in their order
  std::optional<std::string> inheritedMaxDist_;  // of the stanza [default] of sourcetypes.conf
  std::vector<std::string> addedStanzas_;
  std::size_t failedModels_ = 0;
};

}  // namespace sourcetype
