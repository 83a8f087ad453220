// How safe an answer is, from 0 (at a limit) to 100.
#pragma once

#include <span>

#include "classifier/flow_observer.h"

namespace sourcetype {

// The percentage points by which the tightest test of the rule passes.
double marginOf(const RuleEvidence& rule);

// How far the closest model is from not being accepted: beyond the limit of distances, beyond the
// model's own limit for words, or farther away than a model of another sourcetype. Each is a percentage of its
// limit; the smallest counts. `models` is in ascending order of distances and not empty.
double marginOf(std::span<const ModelEvidence> models);

}  // namespace sourcetype
