// The timestamp of a line: its position, and the instant that it names.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sourcetype {

// A piece of a line, in bytes from the start of the line. `end` is the first byte after it. Both
// are -1 if there is none.
struct TimestampSpan {
  std::ptrdiff_t start = -1;
  std::ptrdiff_t end = -1;

  friend bool operator==(const TimestampSpan&, const TimestampSpan&) = default;
};

struct Timestamp {
  std::int64_t seconds = 0;      // since 1970-01-01 00:00 UTC
  std::int32_t nanoseconds = 0;  // 0 to 999,999,999, forward from `seconds`
  // Seconds east of UTC, of the zone that the timestamp is read in; 0 for a Unix time.
  std::int32_t utcOffset = 0;
  TimestampSpan main;    // the whole timestamp, or the time of day
  TimestampSpan second;  // a separate date, before or after `main`
};

}  // namespace sourcetype
