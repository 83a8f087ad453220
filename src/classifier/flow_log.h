// What the classification of a file logs.
#pragma once

#include "util/logging.h"

namespace sourcetype {

inline constexpr LogCategory kFlowLog{"FileClassifier"};

}  // namespace sourcetype
