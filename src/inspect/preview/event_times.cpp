#include "inspect/preview/event_times.h"

#include <limits>
#include <string_view>

#include "timestamp/timestamp_parser.h"

namespace sourcetype {
namespace {

// Further lines are not searched, so that a log that is one event costs no more than others.
constexpr std::size_t kMaxSearchedLines = 256;

// The text without the lines after kMaxSearchedLines.
std::string_view searchedPart(std::string_view text) {
  std::size_t end = 0;
  for (std::size_t line = 0; line < kMaxSearchedLines; ++line) {
    end = text.find('\n', line == 0 ? 0 : end + 1);
    if (end == std::string_view::npos) return text;
  }
  return text.substr(0, end);
}

// The settings with limits that accept every date which is likely to be one: a hundred years ago to
// ten years ahead, however far from the one before.
PropertiesMap withWideLimits(PropertiesMap settings) {
  const auto unlimited = std::to_string(std::numeric_limits<std::int32_t>::max());
  settings.set("MAX_DAYS_AGO", "36500");
  settings.set("MAX_DAYS_HENCE", "3650");
  settings.set("MAX_DIFF_SECS_AGO", unlimited);
  settings.set("MAX_DIFF_SECS_HENCE", unlimited);
  return settings;
}

}  // namespace

void findEventTimes(std::span<PreviewEvent> events, const PropertiesMap& settings,
                    const TimestampFormats& formats, const std::string& name,
                    std::chrono::sys_seconds reference) {
  TimestampParser parser(formats, settings, name, reference);
  TimestampParser wideParser(formats, withWideLimits(settings), name, reference);
  std::optional<Timestamp> previous;
  for (auto& event : events) {
    const auto text = searchedPart(event.text);
    event.stamp = parser.parse(text);
    if (event.stamp) {
      event.isOutOfOrder = previous && isEarlier(*event.stamp, *previous);
      previous = event.stamp;
    } else {
      event.refused = wideParser.parse(text);
    }
    event.time = previous;
  }
}

}  // namespace sourcetype
