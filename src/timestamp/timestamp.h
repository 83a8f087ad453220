// What is said of a timestamp in a line: where it stands and which instant it names.
#pragma once

#include <cstddef>
#include <cstdint>

namespace sourcetype {

// A piece of a line, in bytes from the line's start, end exclusive; -1 when there is none.
struct TimestampSpan {
  std::ptrdiff_t start = -1;
  std::ptrdiff_t end = -1;

  friend bool operator==(const TimestampSpan&, const TimestampSpan&) = default;
};

struct Timestamp {
  std::int64_t seconds = 0;      // since 1970-01-01 00:00 UTC
  std::int32_t nanoseconds = 0;  // 0 to 999,999,999, forward from `seconds`
  TimestampSpan main;            // the whole stamp, or the time of day
  TimestampSpan second;          // a date that stands apart from it, before or after
};

}  // namespace sourcetype
