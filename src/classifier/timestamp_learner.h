// Where the timestamps stand in the lines of a sample.
#pragma once

#include <string_view>

#include "classifier/sampling/sample.h"
#include "conf/properties_map.h"

namespace sourcetype {

// Adds what it finds (TIME_PREFIX, MAX_TIMESTAMP_LOOKAHEAD) to the settings of a new sourcetype.
// This version finds nothing.
void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings);

}  // namespace sourcetype
