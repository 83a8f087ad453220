// What the tool has learned: models of the text of files, by sourcetype.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/classifier_settings.h"
#include "classifier/sampling/sample.h"
#include "conf/conf_store.h"

namespace sourcetype {

// This version keeps no models: nothing is recognised by one and nothing is learned.
class ModelStore {
 public:
  // Reads nothing yet.
  ModelStore(ConfStore& store, ClassifierSettings& settings);

  // The sourcetype of the closest model that is close enough.
  std::optional<std::string> matchModels(std::string_view fileName, const Sample& sample);

  // Learns what no model of `sourcetype` covers yet. False when nothing was learned and no model
  // was close enough either.
  bool trainModels(std::string_view fileName, const Sample& sample, std::string_view sourcetype);

  // Models held of a sourcetype.
  std::size_t countModels(std::string_view sourcetype);

  // Forgets every model and deletes the file they are stored in.
  void reset();

 private:
  ConfStore& store_;
  ClassifierSettings& settings_;
};

}  // namespace sourcetype
