// Learns files anew and then drops the models that were learned before.
//
//   ModelRetraining retraining(store, models);
//   for (each file) retraining.learn(fileName, sample, sourcetype);
//   retraining.finish();
//
// sourcetypes.conf keeps the old models until finish(): a run that ends before loses none.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <string_view>

#include "classifier/models/model_store.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"

namespace sourcetype {

class ModelRetraining {
 public:
  // Both must outlive the object. From now on `models` has none of the models learned before.
  ModelRetraining(ConfStore& store, ModelStore& models);

  // Learns a file as ModelStore::trainModels() does. When a model cannot be stored, keeps the old
  // models of this file, and those of other files as keepUnlearned() says.
  void learn(std::string_view fileName, const Sample& sample, std::string_view sourcetype);

  // Call this when a file could not be learned again. finish() then drops the old models of only
  // those files that were learned again.
  void keepUnlearned() { keepsUnlearned_ = true; }

  // Drops the old models from their file. First copies the file, without the models of this
  // retraining, to "sourcetypes.conf.old" beside it. Logs how many models were dropped and where
  // the copy is. When the copy or the file cannot be written, this is logged and nothing is
  // dropped.
  void finish();

 private:
  ConfStore& store_;
  ModelStore& models_;
  std::size_t addedBefore_;                                                // models
  std::map<std::string, ConfStore::StanzaNames, std::less<>> oldStanzas_;  // by "_source"
  std::set<std::string, std::less<>> learnedSources_;
  bool keepsUnlearned_ = false;
};

}  // namespace sourcetype
