#include "inspect/scan/sample_events.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <string_view>
#include <vector>

#include "inspect/preview/event_breaker.h"
#include "inspect/preview/log_text.h"
#include "timestamp/timestamp_parser.h"

namespace sourcetype {
namespace {

// Lines at the start that are searched for a timestamp: header lines have none.
constexpr std::size_t kMaxFirstLines = 20;
// Lines at the end, tried one after the other: a long event may have its timestamp further up.
constexpr std::array<std::size_t, 2> kLastLines{20, 200};

std::vector<LogLine> logLines(const Sample& sample) {
  std::vector<LogLine> lines;
  lines.reserve(sample.lineCount());
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    lines.push_back({.number = i + 1, .text = std::string(sample.line(i))});
  }
  return lines;
}

}  // namespace

SampleEvents examineEvents(const Sample& sample, const PropertiesMap& settings,
                           const TimestampFormats& formats, const std::string& name) {
  SampleEvents events;
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  TimestampParser breaking(formats, settings, name, now);
  events.count = breakEvents(logLines(sample), settings, [&](std::string_view line) {
                   return breaking.parse(line).has_value();
                 }).starts.size();

  TimestampParser parser(formats, settings, name, now);
  const std::size_t lines = sample.lineCount();
  for (std::size_t i = 0; i < std::min(lines, kMaxFirstLines) && !events.first; ++i) {
    events.first = parser.parse(sample.line(i));
  }
  for (const std::size_t count : kLastLines) {
    for (std::size_t i = lines - std::min(lines, count); i < lines; ++i) {
      if (const auto found = parser.parse(sample.line(i))) events.last = found;
    }
    if (events.last || lines <= count) break;
  }
  if (!events.first) events.first = events.last;
  return events;
}

}  // namespace sourcetype
