// Samples that tests read from texts.
#pragma once

#include <string_view>

#include "classifier/sample.h"

namespace sourcetype::testing {

// In UTF-8.
inline Sample sampleOf(std::string_view text) {
  return readSampleText(text, {}, "text");
}

}  // namespace sourcetype::testing
