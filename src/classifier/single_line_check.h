// Whether each line of a sample is an event.
#pragma once

#include "classifier/sample.h"

namespace sourcetype {

// True when each line of the sample is taken to be one event: nothing is set off by separators or
// by indentation, and the lines share few patterns of punctuation. Also for fewer than two lines.
// Letters, digits and whitespace are those of ASCII, and any other byte is punctuation.
bool isSingleLineSample(const Sample& sample);

}  // namespace sourcetype
