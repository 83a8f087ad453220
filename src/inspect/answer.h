// Which stage gave the sourcetype of a file, and how safe that is.
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

  // From 0 (at the limit) to 100 (as far from it as possible): for a rule, the tightest of its
  // tests; for a model, the tightest of its distance, of that of its words, and of the distance to
  // the closest model of another sourcetype. Nothing for the other stages.
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

// How near a rule came, from 0 to 1; 1 if all its tests pass. The share of what its worst test
// needed.
double nearnessOf(const RuleEvidence& rule);

}  // namespace sourcetype
