// Counts what is to be seen in the events of a log.
#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "inspect/preview/preview_event.h"

namespace sourcetype {

// Events with a property. Numbers of events begin at 1.
struct EventCount {
  std::size_t count = 0;
  std::size_t first = 0;  // the number of the first such event

  void add(std::size_t number) {
    if (count++ == 0) first = number;
  }
};

struct PreviewSummary {
  std::size_t events = 0;
  std::size_t medianLines = 0;  // lines of an event; of two middle ones the lower
  std::size_t maxLines = 0;
  std::size_t longestEvent = 0;  // the number of the first event with maxLines
  EventCount withoutStamp;
  EventCount outOfLimits;  // of those without a timestamp
  EventCount outOfOrder;
  std::optional<Timestamp> first;  // the earliest and the latest time
  std::optional<Timestamp> last;
};

PreviewSummary summarise(std::span<const PreviewEvent> events);

}  // namespace sourcetype
