// Which stage decided the sourcetype of a file, and how far the decision was from its limit.
//
//   Answer answer;
//   manager.findTypeForFile(result, {.path = path, .isTrial = true, .observer = &answer});
//   use(result.get("sourcetype"), answer.stage(), answer.margin());
#pragma once

#include <optional>
#include <span>

#include "classifier/flow_observer.h"

namespace sourcetype {

class Answer : public FlowObserver {
 public:
  Stage stage() const { return stage_; }

  // From 0 (at the limit) to 100 (as far from it as possible). For a rule: the smallest margin of
  // its tests. For a model: the smallest margin of its distance, of the part of the distance that
  // words make up, and of its distance below that of the closest other sourcetype whose model is
  // accepted too. Nothing for the other stages.
  std::optional<double> margin() const;

  void testedRule(const RuleEvidence& rule) override;
  void measuredModels(std::span<const ModelEvidence> models) override;
  void ended(Stage stage) override { stage_ = stage; }

 private:
  Stage stage_ = Stage::Unrecognised;
  std::optional<double> ruleMargin_;
  std::optional<double> modelMargin_;
};

// How far a test is from its limit, as a percentage of the farthest it can be; negative if the test
// fails.
double marginOf(const TestEvidence& test);

// How near a rule came, from 0 to 1: the share that its worst test reached of what the test needs.
// 1 if all tests pass, 0 if the rule has none.
double nearnessOf(const RuleEvidence& rule);

}  // namespace sourcetype
