// An event of a log with its time.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "timestamp/timestamp.h"

namespace sourcetype {

struct PreviewEvent {
  std::size_t line;   // the number of its first line in the log, from 1
  std::size_t lines;  // lines that are not empty
  std::string text;   // the lines with "\n" between them

  // The timestamp in `text`, and the time of the event. An event without a timestamp inherits the
  // time of the event before; nothing if no event before has one.
  std::optional<Timestamp> stamp;
  std::optional<Timestamp> time;
  // A timestamp in `text` that does not count, because it is outside of the limits.
  std::optional<Timestamp> refused;
  bool isOutOfOrder = false;  // the stamp is earlier than the one before

  bool isInherited() const { return time && !stamp; }
};

// Whether the instant of `left` is before that of `right`.
bool isEarlier(const Timestamp& left, const Timestamp& right);

// The pieces of `text` that are the timestamp, accepted or refused, in ascending order.
std::vector<TimestampSpan> stampSpans(const PreviewEvent& event);

}  // namespace sourcetype
