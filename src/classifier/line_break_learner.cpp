#include "classifier/line_break_learner.h"

namespace sourcetype {

bool isSingleLineSample(const Sample& /*sample*/) {
  return true;
}

std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& /*sample*/) {
  return std::nullopt;
}

}  // namespace sourcetype
