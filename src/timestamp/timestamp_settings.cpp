#include "timestamp/timestamp_settings.h"

#include <algorithm>
#include <stdexcept>
#include <string_view>

#include "timestamp/time_format.h"
#include "timestamp/timestamp_log.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

using std::chrono::days;
using std::chrono::seconds;
using std::chrono::sys_seconds;

constexpr std::int64_t kDefaultDaysAgo = 36500;
constexpr std::int64_t kDefaultDaysHence = 7;
constexpr std::int64_t kDefaultSecondsAgo = std::int64_t{24} * 3600;
constexpr std::int64_t kDefaultSecondsHence = std::int64_t{30} * 24 * 3600;

// Larger limits are cut to this, about 2,700 years, so that sums stay within the calendar's range.
constexpr std::int64_t kMaxDays = 1'000'000;
constexpr std::int64_t kMaxSeconds = kMaxDays * 24 * 3600;

std::int64_t limit(const PropertiesMap& settings, std::string_view key, std::int64_t fallback,
                   std::int64_t max) {
  return std::clamp<std::int64_t>(settings.getInt(key, fallback), 0, max);
}

TimeLimits timeLimits(const PropertiesMap& settings, sys_seconds reference) {
  return {
      .reference = reference,
      .earliest = reference - days(limit(settings, "MAX_DAYS_AGO", kDefaultDaysAgo, kMaxDays)),
      .latest = reference + days(limit(settings, "MAX_DAYS_HENCE", kDefaultDaysHence, kMaxDays))};
}

std::size_t readLookahead(const PropertiesMap& settings) {
  const auto bytes =
      settings.getInt("MAX_TIMESTAMP_LOOKAHEAD", std::int64_t{kDefaultTimestampLookahead});
  if (bytes < 0) return kMaxTimestampLookahead;
  return static_cast<std::size_t>(
      std::min<std::int64_t>(bytes, std::int64_t{kMaxTimestampLookahead}));
}

std::optional<Regex> readPrefix(const PropertiesMap& settings) {
  constexpr const char* kKey = "TIME_PREFIX";
  const auto prefix = settings.tryGet(kKey);
  if (!prefix) return std::nullopt;
  try {
    return Regex(*prefix);
  } catch (const RegexException& error) {
    reportInvalidRegex(kParserLog, *prefix, error.what(), settings.stanzaOf(kKey), kKey);
    return std::nullopt;
  }
}

std::optional<TimestampExpression> readFormat(const PropertiesMap& settings) {
  constexpr const char* kKey = "TIME_FORMAT";
  const auto format = settings.tryGet(kKey);
  if (!format) return std::nullopt;
  try {
    TimestampExpression result{.regex = Regex(timeFormatExpression(*format), Regex::kCaseless),
                               .groups = {}};
    for (const auto& [group, number] : result.regex.groupNumbers()) {
      if (const auto field = timestampFieldNamed(group)) {
        result.groups.push_back({static_cast<std::uint16_t>(number), *field});
      }
    }
    std::ranges::sort(result.groups, {}, &FieldGroup::group);
    return result;
  } catch (const std::runtime_error& error) {
    reportInvalidRegex(kParserLog, *format, error.what(), settings.stanzaOf(kKey), kKey);
    return std::nullopt;
  }
}

TimeZone readZone(const PropertiesMap& settings, const TimeZones& zones, std::string_view name) {
  const auto text = settings.tryGet("TZ");
  if (!text) return {};
  if (const auto zone = zones.find(*text)) return *zone;
  logWarn(kParserLog, R"(%s: TZ "%s" is ignored: it is no offset and no known name.)", name, *text);
  return {};
}

}  // namespace

TimestampSettings readTimestampSettings(const PropertiesMap& settings, const TimeZones& zones,
                                        const std::string& name, sys_seconds reference) {
  return {.prefix = readPrefix(settings),
          .format = readFormat(settings),
          .lookahead = readLookahead(settings),
          .zone = readZone(settings, zones, name),
          .limits = timeLimits(settings, reference),
          .maxAgo = seconds(limit(settings, "MAX_DIFF_SECS_AGO", kDefaultSecondsAgo, kMaxSeconds)),
          .maxHence =
              seconds(limit(settings, "MAX_DIFF_SECS_HENCE", kDefaultSecondsHence, kMaxSeconds))};
}

}  // namespace sourcetype
