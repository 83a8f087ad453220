// What serves all files of a run.
#pragma once

#include <optional>

#include "classifier/classifier_settings.h"
#include "classifier/expression_check.h"
#include "classifier/models/model_store.h"
#include "classifier/rules.h"
#include "conf/conf_store.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// Made once and passed down to the flow of each file. Keeps no result of a file but what was
// written. Nothing is read until a file needs it.
class ClassifierContext {
 public:
  // `store` must outlive the context.
  explicit ClassifierContext(ConfStore& store);

  ConfStore& store() { return store_; }
  Rules& rules() { return rules_; }
  ModelStore& models() { return models_; }
  ExpressionCheck& expressionCheck() { return expressionCheck_; }
  const TimestampFormats& timestampFormats();

 private:
  ConfStore& store_;
  ClassifierSettings settings_;
  Rules rules_;
  ExpressionCheck expressionCheck_;
  ModelStore models_;
  std::optional<TimestampFormats> timestampFormats_;
};

}  // namespace sourcetype
