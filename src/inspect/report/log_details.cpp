#include "inspect/report/log_details.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <string_view>

#include "inspect/explain/explain_json.h"
#include "inspect/explain/explanation.h"
#include "inspect/preview/preview.h"
#include "inspect/preview/preview_json.h"
#include "inspect/preview/preview_summary.h"
#include "inspect/report/event_plots.h"
#include "inspect/session.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

// The longest start of `text` of at most `maxBytes` bytes that does not end within a character.
std::string_view startOf(std::string_view text, std::size_t maxBytes) {
  if (text.size() <= maxBytes) return text;
  while (maxBytes > 0 && isUtf8Continuation(byteAt(text, maxBytes))) --maxBytes;
  return text.substr(0, maxBytes);
}

Json piecesOf(std::string_view text, const std::vector<TimestampSpan>& stamps) {
  Json pieces = Json::array();
  std::size_t end = 0;
  for (const auto& stamp : stamps) {
    const auto stampStart = static_cast<std::size_t>(stamp.start);
    const auto stampEnd = std::min(static_cast<std::size_t>(stamp.end), text.size());
    if (stampStart < end || stampStart >= stampEnd) continue;
    pieces.push_back(text.substr(end, stampStart - end));
    pieces.push_back(text.substr(stampStart, stampEnd - stampStart));
    end = stampEnd;
  }
  pieces.push_back(text.substr(end));
  return pieces;
}

Json eventJson(const PreviewEvent& event, std::string_view shown) {
  Json object = toJson(event);
  object.erase("text");
  object.erase("stamp");
  object.erase("date");
  object["pieces"] = piecesOf(shown, stampSpans(event));
  if (shown.size() < event.text.size()) object["cut_bytes"] = event.text.size() - shown.size();
  return object;
}

Json eventsJson(const std::vector<PreviewEvent>& events) {
  Json list = Json::array();
  std::size_t left = kMaxShownBytes;
  for (const auto& event : events) {
    if (list.size() == kMaxShownEvents || left == 0) break;
    const auto shown = startOf(event.text, std::min(left, kMaxShownEventBytes));
    if (shown.empty()) break;
    list.push_back(eventJson(event, shown));
    left -= shown.size();
  }
  return list;
}

Json previewJson(const Preview& preview, const std::string& file) {
  Json json = summaryJson(preview, summarise(preview.events), file);
  json["problems"] = preview.problems;
  json["events"] = eventsJson(preview.events);
  return json;
}

void addPreview(Json& details, const Preview& preview, const std::string& file) {
  if (preview.isBinary) return;
  details["preview"] = previewJson(preview, file);
  const auto times = plotTimes(preview.events);
  details["times"] = {{"start", times.start}, {"step", times.step}, {"counts", times.counts}};
  details["lines"] = plotLines(preview.events);
}

}  // namespace

Json describeLog(const std::filesystem::path& home, const ClassifiedFile& file) {
  const auto& [row, request, result, evidence, formats, run] = file;
  Json details = Json::object();
  try {
    details["explanation"] =
        explainAsJson(explainResult(run, row.file, request, result, evidence), home);
    PreviewRequest preview{.path = request.path, .found = result};
    if (request.sampleText) {
      preview.bytes = LogBytes{.bytes = *request.sampleText, .isWhole = !row.isCut};
    }
    addPreview(details, previewLog(run.store(), formats, preview), row.file);
  } catch (const InspectError& error) {  // it vanished while it was read
    details["problem"] = error.what();
  }
  return details;
}

}  // namespace sourcetype
