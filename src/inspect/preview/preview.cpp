#include "inspect/preview/preview.h"

#include <utility>

#include "classifier/file_classifier.h"
#include "classifier/file_classifier_manager.h"
#include "classifier/properties.h"
#include "inspect/preview/event_breaker.h"
#include "inspect/preview/event_times.h"
#include "inspect/preview/setting_problems.h"
#include "platform/path_form.h"
#include "timestamp/timestamp_parser.h"

namespace sourcetype {
namespace {

// The event of the lines [begin, end).
PreviewEvent makeEvent(std::span<const LogLine> lines, std::size_t begin, std::size_t end) {
  PreviewEvent event{.line = lines[begin].number,
                     .lines = end - begin,
                     .text = lines[begin].text,
                     .stamp = {},
                     .time = {},
                     .refused = {}};
  for (std::size_t i = begin + 1; i < end; ++i) event.text.append("\n").append(lines[i].text);
  return event;
}

PropertiesMap settingsOf(ConfStore& store, const PreviewRequest& request, const LogBytes& log) {
  if (request.found) return *request.found;
  PropertiesMap settings;
  if (!request.sourcetype.empty()) {
    store.getStanzaSettings(store.getProps(), settings,
                            sourceStanzas(request.path, request.sourcetype), PatternMatching::Yes);
    settings.set(key::kSourcetype, request.sourcetype);
    return settings;
  }
  TypeRequest type{.path = request.path};
  if (request.bytes) type.sampleText = log.bytes;
  FileClassifierManager(store).findTypeForFile(settings, type);
  return settings;
}

}  // namespace

std::vector<PreviewEvent> previewEvents(std::span<const LogLine> lines,
                                        const PropertiesMap& settings,
                                        const TimestampFormats& formats, const std::string& name,
                                        std::chrono::sys_seconds reference,
                                        std::vector<std::string>& problems) {
  TimestampParser lineParser(formats, settings, name, reference);
  const auto breaks = breakEvents(
      lines, settings, [&](std::string_view line) { return lineParser.parse(line).has_value(); });
  if (!breaks.problem.empty()) problems.push_back(breaks.problem);
  std::vector<PreviewEvent> events;
  events.reserve(breaks.starts.size());
  for (std::size_t i = 0; i < breaks.starts.size(); ++i) {
    const auto end = i + 1 < breaks.starts.size() ? breaks.starts[i + 1] : lines.size();
    events.push_back(makeEvent(lines, breaks.starts[i], end));
  }
  findEventTimes(events, settings, formats, name, reference);
  return events;
}

Preview previewLog(ConfStore& store, const TimestampFormats& formats,
                   const PreviewRequest& request) {
  const auto name = pathToText(request.path);
  const auto bytes = request.bytes ? *request.bytes : readLogFile(request.path);
  Preview preview;
  preview.settings = settingsOf(store, request, bytes);
  preview.sourcetype = preview.settings.get(key::kSourcetype);
  for (const auto& [key, entry] : request.tried.entries()) preview.settings.set(key, entry.value);
  for (const auto& [key, entry] : preview.settings.entries()) {
    const auto problem = settingProblem(key, entry.value, formats.zones());
    if (!problem.empty()) preview.problems.push_back(problem + "; it is ignored");
  }
  LogText log = makeLogText(bytes, preview.settings, name);
  preview.isWhole = log.isWhole;
  preview.unreadLines = log.unreadLines;
  preview.isBinary = log.isBinary && !preview.settings.getBool(key::kNoBinaryCheck, false);
  if (preview.isBinary) return preview;
  if (const auto maxBytes = preview.settings.getUnsigned("TRUNCATE", 0); maxBytes > 0) {
    preview.cutLines = cutLongLines(log.lines, maxBytes);
  }
  preview.lines = log.lines.size();
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  preview.events = previewEvents(log.lines, preview.settings, formats, name, now, preview.problems);
  return preview;
}

}  // namespace sourcetype
