// The numbers of the plots of one log: its events over time, and the lines of its events.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "inspect/preview/preview_event.h"

namespace sourcetype {

// Events by their times, in slots of equal length. Events without a time do not count.
struct TimePlot {
  static constexpr std::size_t kMaxSlots = 60;

  std::int64_t start = 0;  // seconds since 1970; a multiple of `step`
  std::int64_t step = 1;   // length of a slot in seconds
  std::vector<std::size_t> counts;
};

TimePlot plotTimes(std::span<const PreviewEvent> events);

// Events by their numbers of lines: 1, 2, 3 and 4, 5 to 8, and so on. Entry i counts the events of at
// most 2^i lines that the entries before it do not count.
std::vector<std::size_t> plotLines(std::span<const PreviewEvent> events);

}  // namespace sourcetype
