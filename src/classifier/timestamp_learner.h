// Learns where the timestamps are in the lines of a sample.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/sample.h"
#include "conf/properties_map.h"
#include "timestamp/timestamp.h"

namespace sourcetype {

// Returns the timestamp of a line; nothing for a line without one. Is called for the lines in their
// order.
using TimestampFinder = std::function<std::optional<Timestamp>(std::string_view line)>;

// Adds TIME_PREFIX and MAX_TIMESTAMP_LOOKAHEAD to the settings of a new sourcetype, and sets
// SHOULD_LINEMERGE when only some lines have timestamps. A TIME_PREFIX or MAX_TIMESTAMP_LOOKAHEAD
// that is set stays. If both are set, does nothing and does not call `find`. Adds nothing when 30
// lines or fewer have a timestamp.
void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings, const TimestampFinder& find);

// Returns an expression that matches the text before a timestamp up to its last anchor: a bracket,
// colon or other character that plain text rarely has. Empty when the text has no anchor.
std::string makeTimePrefixRegex(std::string_view textBefore);

}  // namespace sourcetype
