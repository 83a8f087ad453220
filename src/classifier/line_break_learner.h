// Learns where events begin in the lines of a sample.
#pragma once

#include <optional>
#include <string>

#include "classifier/flow_observer.h"
#include "classifier/sample.h"

namespace sourcetype {

// Returns an expression that matches the first line of every event. Returns nothing when the sample
// has fewer than 1000 lines, when its lines have timestamps, which break events by themselves, or
// when no expression is good enough. `observer`, unless it is null, is told the best expressions.
std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample,
                                                     FlowObserver* observer = nullptr);

// Returns true when, after some line beyond the 100th, more than 5 % of the lines so far contain a
// time of day such as 12:00:01.
bool looksTimestamped(const Sample& sample);

}  // namespace sourcetype
