// The settings that say where the timestamps of a sourcetype are and how they are written:
//
//   TIME_PREFIX              An expression. The search starts after its first match; a line without
//                            a match has no timestamp.
//   TIME_FORMAT              The only format to look for (see time_format.h).
//   MAX_TIMESTAMP_LOOKAHEAD  Bytes of a line that are searched, 200 when unset. A negative number,
//                            and one above kMaxTimestampLookahead, mean kMaxTimestampLookahead.
//   TZ                       The zone of timestamps that name none: an offset or a name. Default
//                            UTC.
//   MAX_DAYS_AGO, MAX_DAYS_HENCE
//                            Days. A timestamp further before or after the reference time is
//                            none. 36,500 and 7 when unset.
//   MAX_DIFF_SECS_AGO, MAX_DIFF_SECS_HENCE
//                            Seconds. A timestamp further before or after the one of the line
//                            before is none, unless it has the form that was seen most often. A
//                            day and 30 days when unset.
#pragma once

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>

#include "conf/properties_map.h"
#include "timestamp/date_reader.h"
#include "timestamp/time_zones.h"
#include "timestamp/timestamp_form.h"
#include "util/regex.h"

namespace sourcetype {

struct TimestampSettings {
  std::optional<Regex> prefix;                // TIME_PREFIX
  std::optional<TimestampExpression> format;  // TIME_FORMAT
  std::size_t lookahead;                      // MAX_TIMESTAMP_LOOKAHEAD
  TimeZone zone;                              // TZ
  TimeLimits limits;                          // MAX_DAYS_AGO, MAX_DAYS_HENCE
  std::chrono::seconds maxAgo;                // MAX_DIFF_SECS_AGO
  std::chrono::seconds maxHence;              // MAX_DIFF_SECS_HENCE
};

// Bytes of a line that are searched when MAX_TIMESTAMP_LOOKAHEAD is unset, and at most.
constexpr std::size_t kDefaultTimestampLookahead = 200;
constexpr std::size_t kMaxTimestampLookahead = 10'000;

// A TIME_PREFIX, TIME_FORMAT or TZ that cannot be used is logged and counts as unset. `name` is the
// name of the file, for the log.
TimestampSettings readTimestampSettings(const PropertiesMap& settings, const TimeZones& zones,
                                        const std::string& name,
                                        std::chrono::sys_seconds reference);

}  // namespace sourcetype
