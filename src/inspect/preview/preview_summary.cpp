#include "inspect/preview/preview_summary.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace sourcetype {
namespace {

std::size_t medianOf(std::vector<std::size_t> numbers) {
  if (numbers.empty()) return 0;
  const auto middle = numbers.begin() + static_cast<std::ptrdiff_t>((numbers.size() - 1) / 2);
  std::ranges::nth_element(numbers, middle);
  return *middle;
}

}  // namespace

PreviewSummary summarise(std::span<const PreviewEvent> events) {
  PreviewSummary summary;
  std::vector<std::size_t> lines;
  for (const auto& event : events) {
    ++summary.events;
    lines.push_back(event.lines);
    if (event.lines > summary.maxLines) {
      summary.maxLines = event.lines;
      summary.longestEvent = summary.events;
    }
    if (event.refused) summary.outOfLimits.add(summary.events);
    if (event.isOutOfOrder) summary.outOfOrder.add(summary.events);
    if (!event.stamp) {
      summary.withoutStamp.add(summary.events);
      continue;
    }
    if (!summary.first || isEarlier(*event.stamp, *summary.first)) summary.first = event.stamp;
    if (!summary.last || isEarlier(*summary.last, *event.stamp)) summary.last = event.stamp;
  }
  summary.medianLines = medianOf(std::move(lines));
  return summary;
}

}  // namespace sourcetype
