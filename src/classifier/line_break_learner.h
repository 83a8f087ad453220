// Where events begin in the lines of a sample.
#pragma once

#include <optional>
#include <string>

#include "classifier/sample.h"

namespace sourcetype {

// An expression that matches the first line of every event; nothing when the sample has fewer than
// 1000 lines, when timestamps break its events, or when no good one is found.
std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample);

// True when more than one line in twenty, of more than 100, holds a time of day such as 12:00:01.
bool looksTimestamped(const Sample& sample);

}  // namespace sourcetype
