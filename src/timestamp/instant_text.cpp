#include "timestamp/instant_text.h"

#include <fmt/format.h>

#include <cstdlib>

#include "timestamp/time_zones.h"
#include "util/regex.h"

namespace sourcetype {

using std::chrono::days;
using std::chrono::sys_seconds;

namespace {

std::string offsetText(std::int32_t utcOffset) {
  if (utcOffset == 0) return "Z";
  const auto minutes = std::abs(utcOffset) / 60;
  return fmt::format("{}{:02}:{:02}", utcOffset < 0 ? '-' : '+', minutes / 60, minutes % 60);
}

}  // namespace

std::string instantText(std::int64_t seconds, std::int32_t nanoseconds, std::int32_t utcOffset) {
  const sys_seconds time{std::chrono::seconds(seconds + utcOffset)};
  const auto day = std::chrono::floor<days>(time);
  const std::chrono::year_month_day date(day);
  const std::chrono::hh_mm_ss clock(time - day);
  auto text = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", static_cast<int>(date.year()),
                          static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                          clock.hours().count(), clock.minutes().count(), clock.seconds().count());
  if (nanoseconds != 0) {
    text += fmt::format(".{:09}", nanoseconds);
    text.erase(text.find_last_not_of('0') + 1);
  }
  return text + offsetText(utcOffset);
}

std::optional<sys_seconds> instantFromText(std::string_view text) {
  const Regex expression(
      "\\A(?'year'[0-9]{4})-(?'month'[0-9]{2})-(?'day'[0-9]{2})"
      "(?:[T ](?'hour'[0-9]{2}):(?'minute'[0-9]{2})(?::(?'second'[0-9]{2}))?"
      "(?'zone'Z|[+-][0-9]{2}:?[0-9]{2})?)?\\z");
  MatchResult match;
  if (!expression.match(text, match)) return std::nullopt;
  const auto group = [&](const char* name) {
    return match.text(*expression.groupNumber(name), text);
  };
  const auto number = [&](const char* name) {
    unsigned value = 0;
    for (const char digit : group(name)) value = value * 10 + static_cast<unsigned>(digit - '0');
    return value;
  };
  const std::chrono::year_month_day date{std::chrono::year(static_cast<int>(number("year"))),
                                         std::chrono::month(number("month")),
                                         std::chrono::day(number("day"))};
  if (!date.ok() || number("hour") > 23 || number("minute") > 59 || number("second") > 60) {
    return std::nullopt;
  }
  const auto zone =
      group("zone").empty() ? std::optional(TimeZone()) : TimeZones().find(group("zone"));
  if (!zone) return std::nullopt;
  return zone->toUtc(std::chrono::local_days(date) + std::chrono::hours(number("hour")) +
                     std::chrono::minutes(number("minute")) +
                     std::chrono::seconds(number("second")));
}

}  // namespace sourcetype
