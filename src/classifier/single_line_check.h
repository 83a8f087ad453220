// Decides whether each line of a sample is one event.
#pragma once

#include "classifier/sample.h"

namespace sourcetype {

// Returns true when the lines have no separators, when none or nearly all of them are indented, and
// when they have few patterns of punctuation. Also returns true for fewer than two lines. Examines
// at most kMaxExaminedLines. Letters, digits and whitespace are those of ASCII, and every other
// byte is punctuation.
bool isSingleLineSample(const Sample& sample);

}  // namespace sourcetype
