#include "inspect/margin.h"

#include <algorithm>

#include "classifier/models/model_store.h"

namespace sourcetype {
namespace {

double percentage(double part, double whole) {
  return whole > 0 ? std::clamp(100 * part / whole, 0.0, 100.0) : 0;
}

}  // namespace

double marginOf(const RuleEvidence& rule) {
  return std::clamp(rule.reserve(), 0.0, 100.0);
}

double marginOf(std::span<const ModelEvidence> models) {
  const auto& closest = models.front();
  double margin =
      std::min(percentage(kAcceptDistance - closest.distance, kAcceptDistance),
               percentage(closest.maxWordDistance - closest.wordDistance, closest.maxWordDistance));
  for (const auto& model : models) {
    const bool canWin = model.wordDistance <= model.maxWordDistance;
    if (model.sourcetype == closest.sourcetype || !canWin) continue;
    margin = std::min(margin, percentage(model.distance - closest.distance, kAcceptDistance));
  }
  return margin;
}

}  // namespace sourcetype
