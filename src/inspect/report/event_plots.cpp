#include "inspect/report/event_plots.h"

#include <algorithm>
#include <array>
#include <bit>
#include <optional>

namespace sourcetype {
namespace {

constexpr std::int64_t kMinute = 60;
constexpr std::int64_t kHour = 60 * kMinute;
constexpr std::int64_t kDay = 24 * kHour;
constexpr std::int64_t kYear = 365 * kDay;

// Lengths of slots that people can read.
constexpr std::array<std::int64_t, 22> kSteps{
    1,        2,           5,           10,           15,           30,
    kMinute,  2 * kMinute, 5 * kMinute, 10 * kMinute, 15 * kMinute, 30 * kMinute,
    kHour,    2 * kHour,   3 * kHour,   6 * kHour,    12 * kHour,   kDay,
    2 * kDay, 7 * kDay,    30 * kDay,   90 * kDay};

std::int64_t slotOf(std::int64_t seconds, std::int64_t step) {
  const std::int64_t slot = seconds / step;
  return seconds % step < 0 ? slot - 1 : slot;
}

bool fits(std::int64_t first, std::int64_t last, std::int64_t step) {
  return slotOf(last, step) - slotOf(first, step) < static_cast<std::int64_t>(TimePlot::kMaxSlots);
}

// The smallest length that needs at most kMaxSlots slots.
std::int64_t stepFor(std::int64_t first, std::int64_t last) {
  for (const auto step : kSteps) {
    if (fits(first, last, step)) return step;
  }
  std::int64_t step = kYear;
  while (!fits(first, last, step)) step *= 2;
  return step;
}

}  // namespace

TimePlot plotTimes(std::span<const PreviewEvent> events) {
  TimePlot plot;
  std::optional<std::int64_t> first;
  std::int64_t last = 0;
  for (const auto& event : events) {
    if (!event.time) continue;
    const auto seconds = event.time->seconds;
    last = first ? std::max(last, seconds) : seconds;
    first = std::min(first.value_or(seconds), seconds);
  }
  if (!first) return plot;
  plot.step = stepFor(*first, last);
  const auto firstSlot = slotOf(*first, plot.step);
  plot.start = firstSlot * plot.step;
  plot.counts.resize(static_cast<std::size_t>(slotOf(last, plot.step) - firstSlot) + 1);
  for (const auto& event : events) {
    if (!event.time) continue;
    ++plot.counts[static_cast<std::size_t>(slotOf(event.time->seconds, plot.step) - firstSlot)];
  }
  return plot;
}

std::vector<std::size_t> plotLines(std::span<const PreviewEvent> events) {
  std::vector<std::size_t> counts;
  for (const auto& event : events) {
    if (event.lines == 0) continue;
    const auto entry = static_cast<std::size_t>(std::bit_width(event.lines - 1));
    if (entry >= counts.size()) counts.resize(entry + 1);
    ++counts[entry];
  }
  return counts;
}

}  // namespace sourcetype
