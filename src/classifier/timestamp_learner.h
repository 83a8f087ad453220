// Learns where the timestamps are in the lines of a sample.
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/flow_observer.h"
#include "classifier/sample.h"
#include "conf/properties_map.h"
#include "timestamp/timestamp.h"

namespace sourcetype {

// Returns the timestamp of a line; nothing for a line without one. Is called for the lines in their
// order.
using TimestampFinder = std::function<std::optional<Timestamp>(std::string_view line)>;

// Bytes of a line in which `findFar` below looks for a timestamp. Event XML and long JSON have
// theirs hundreds of bytes from the start.
constexpr std::size_t kFarTimestampLookahead = 4000;

// Adds TIME_PREFIX and MAX_TIMESTAMP_LOOKAHEAD to the settings of a new sourcetype, and sets
// SHOULD_LINEMERGE when only some lines have timestamps. A TIME_PREFIX or MAX_TIMESTAMP_LOOKAHEAD
// that is set stays. If both are set, does nothing and does not call `find`. Adds nothing when 30
// lines or fewer have a timestamp.
//
// `find` searches kDefaultTimestampLookahead bytes of a line. `findFar`, if there is one, searches
// further. It is used where `find` finds too few timestamps, and counts only if at least half of
// the lines have a timestamp: a date far inside a message is seldom the event's.
//
// `observer`, unless it is null, is told where the timestamps are.
void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings, const TimestampFinder& find,
                            const TimestampFinder& findFar = {}, FlowObserver* observer = nullptr);

// Returns an expression that matches the text before a timestamp up to its last anchor: a bracket,
// colon or other character that plain text rarely has. Empty when the text has no anchor.
std::string makeTimePrefixRegex(std::string_view textBefore);

}  // namespace sourcetype
