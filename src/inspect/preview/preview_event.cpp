#include "inspect/preview/preview_event.h"

#include <algorithm>
#include <utility>

namespace sourcetype {

bool isEarlier(const Timestamp& left, const Timestamp& right) {
  return std::pair(left.seconds, left.nanoseconds) < std::pair(right.seconds, right.nanoseconds);
}

std::vector<TimestampSpan> stampSpans(const PreviewEvent& event) {
  std::vector<TimestampSpan> spans;
  const auto& stamp = event.stamp ? event.stamp : event.refused;
  if (!stamp) return spans;
  for (const auto& span : {stamp->main, stamp->second}) {
    if (span.start >= 0) spans.push_back(span);
  }
  std::ranges::sort(spans, {}, &TimestampSpan::start);
  return spans;
}

}  // namespace sourcetype
