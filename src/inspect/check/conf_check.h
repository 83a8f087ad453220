// Checks what one .conf file shows by itself.
#pragma once

#include <array>
#include <string_view>

#include "inspect/check/conf_text.h"
#include "inspect/check/findings.h"
#include "timestamp/time_zones.h"

namespace sourcetype {

// The configurations that the program reads. The names of their files end in ".conf".
inline constexpr std::array<std::string_view, 6> kCheckedConfs{
    "props", "transforms", "sourcetypes", "source-classifier", "literals", "inputs"};

// Checks the stanzas, keys and values of a file. Finds nothing in "inputs" or in a configuration
// that is not listed above, because their keys are not known.
void checkConf(const ConfText& text, std::string_view conf, const TimeZones& zones,
               Findings& findings);

}  // namespace sourcetype
