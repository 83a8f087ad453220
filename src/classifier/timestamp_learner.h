// Where the timestamps stand in the lines of a sample.
#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/sample.h"
#include "conf/properties_map.h"
#include "timestamp/timestamp.h"

namespace sourcetype {

// Finds the timestamp of a line; nothing in a line without one. Called for the lines in their
// order.
using TimestampFinder = std::function<std::optional<Timestamp>(std::string_view line)>;

// Adds what it finds to the settings of a new sourcetype: TIME_PREFIX, MAX_TIMESTAMP_LOOKAHEAD and,
// where timestamps stand on some lines only, SHOULD_LINEMERGE. Of the first two, one that is there
// already stays; when both are, nothing is done and `find` not called. Few timestamps say nothing.
void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings, const TimestampFinder& find);

// An expression that skips the text before a timestamp: up to its last bracket, colon or other
// character that text between fields rarely has. Empty when there is no such character.
std::string makeTimePrefixRegex(std::string_view textBefore);

}  // namespace sourcetype
