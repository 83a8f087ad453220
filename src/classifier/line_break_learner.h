// Where events begin and end in the lines of a sample.
#pragma once

#include <optional>
#include <string>

#include "classifier/sampling/sample.h"

namespace sourcetype {

// True when each line of the sample is taken to be one event. This version takes every sample so.
bool isSingleLineSample(const Sample& sample);

// An expression that matches the first line of every event; nothing when no good one is found. This
// version finds none.
std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample);

}  // namespace sourcetype
