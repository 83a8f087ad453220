#include "inspect/answer.h"

#include <algorithm>

#include "classifier/models/model_store.h"

namespace sourcetype {
namespace {

constexpr double kPercent = 100;

double tightestOf(const RuleEvidence& rule) {
  double tightest = kPercent;
  for (const auto& test : rule.tests) tightest = std::min(tightest, marginOf(test));
  return std::max(tightest, 0.0);
}

// How far a distance is below a limit, as a percentage of the limit.
double roomBelow(double limit, double distance) {
  return limit > 0 ? std::clamp((limit - distance) / limit * kPercent, 0.0, kPercent) : 0;
}

double nearnessOf(const TestEvidence& test) {
  if (test.passes) return 1;
  const double counted = test.isMinimum ? test.counted : kPercent - test.counted;
  const double needed = test.isMinimum ? test.needed : kPercent - test.needed;
  return needed > 0 ? std::clamp(counted / needed, 0.0, 1.0) : 0;
}

}  // namespace

std::optional<double> Answer::margin() const {
  switch (stage_) {
    case Stage::Rule:
    case Stage::DelayedRule:
      return ruleMargin_;
    case Stage::Model:
      return modelMargin_;
    default:
      return std::nullopt;
  }
}

void Answer::testedRule(const RuleEvidence& rule) {
  if (rule.decided) ruleMargin_ = tightestOf(rule);
}

void Answer::measuredModels(std::span<const ModelEvidence> models) {
  if (models.empty()) return;
  const ModelEvidence& closest = models.front();
  double margin = std::min(roomBelow(kAcceptDistance, closest.distance),
                           roomBelow(closest.maxWordDistance, closest.wordDistance));
  const auto isRival = [&](const ModelEvidence& model) {
    return model.isAccepted && model.sourcetype != closest.sourcetype;
  };
  const auto rival = std::ranges::find_if(models, isRival);
  if (rival != models.end()) {
    margin = std::min(margin, roomBelow(rival->distance, closest.distance));
  }
  modelMargin_ = margin;
}

double marginOf(const TestEvidence& test) {
  const double room = test.isMinimum ? test.counted - test.needed : test.needed - test.counted;
  const double maxRoom = test.isMinimum ? kPercent - test.needed : test.needed;
  if (maxRoom <= 0) return test.passes ? kPercent : -kPercent;
  return room / maxRoom * kPercent;
}

double nearnessOf(const RuleEvidence& rule) {
  double nearness = rule.tests.empty() ? 0 : 1;
  for (const auto& test : rule.tests) nearness = std::min(nearness, nearnessOf(test));
  return nearness;
}

}  // namespace sourcetype
