#include "inspect/preview/preview_json.h"

#include <nlohmann/json.hpp>

#include "timestamp/instant_text.h"

namespace sourcetype {
namespace {

Json timeJson(const std::optional<Timestamp>& time) {
  if (!time) return nullptr;
  return instantText(time->seconds, time->nanoseconds, time->utcOffset);
}

Json spanJson(const TimestampSpan& span) {
  if (span.start < 0) return nullptr;
  return Json::array({span.start, span.end});
}

}  // namespace

Json toJson(const PreviewEvent& event) {
  Json object = {{"line", event.line},
                 {"lines", event.lines},
                 {"time", timeJson(event.time)},
                 {"stamp", event.stamp ? spanJson(event.stamp->main) : Json()},
                 {"inherited", event.isInherited()},
                 {"text", event.text}};
  if (event.stamp && event.stamp->second.start >= 0) object["date"] = spanJson(event.stamp->second);
  if (event.isOutOfOrder) object["out_of_order"] = true;
  if (event.refused) object["out_of_limits"] = timeJson(event.refused);
  return object;
}

Json summaryJson(const Preview& preview, const PreviewSummary& summary, const std::string& file) {
  return {{"summary",
           {{"file", file},
            {"sourcetype", preview.sourcetype},
            {"events", summary.events},
            {"lines", preview.lines},
            {"median_lines", summary.medianLines},
            {"max_lines", summary.maxLines},
            {"without_stamp", summary.withoutStamp.count},
            {"out_of_limits", summary.outOfLimits.count},
            {"out_of_order", summary.outOfOrder.count},
            {"cut_lines", preview.cutLines},
            {"unread_lines", preview.unreadLines},
            {"read_whole", preview.isWhole},
            {"first", timeJson(summary.first)},
            {"last", timeJson(summary.last)}}}};
}

}  // namespace sourcetype
