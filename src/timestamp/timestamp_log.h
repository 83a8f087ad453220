// What timestamps log: their formats, when these are loaded, and the parser.
#pragma once

#include "util/logging.h"

namespace sourcetype {

inline constexpr LogCategory kFormatsLog{"TimestampFormats"};
inline constexpr LogCategory kParserLog{"TimestampParser"};

}  // namespace sourcetype
