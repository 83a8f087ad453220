// What the work with models logs.
#pragma once

#include "util/logging.h"

namespace sourcetype {

inline constexpr LogCategory kModelLog{"FileClassifierManager"};

}  // namespace sourcetype
