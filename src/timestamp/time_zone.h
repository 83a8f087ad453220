// A time zone: its offset from UTC and its summer time. time_zones.h finds one by its name.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sourcetype {

// As small as it can be: a zone goes with every timestamp.
using ZoneSeconds = std::chrono::duration<std::int32_t>;

// When a clock is put forward or back: "3.last.0 02:00" is the last Sunday of March at 02:00.
struct ClockChange {
  std::chrono::month month{1};
  std::uint8_t week = 1;  // the first to fourth such weekday, 5 for the last
  std::chrono::weekday weekday{0};
  ZoneSeconds time{0};  // of the day, by the clock in force until then

  std::chrono::local_seconds in(std::chrono::year year) const;
};

struct SummerTime {
  ZoneSeconds offset{0};
  ClockChange begin;
  ClockChange end;
};

// Seconds east of UTC, in every year by the same rule.
class TimeZone {
 public:
  TimeZone() = default;  // UTC
  explicit TimeZone(ZoneSeconds offset, std::optional<SummerTime> summer = std::nullopt)
      : offset_(offset), summer_(summer) {}

  // Times that a change skips or repeats count as before it.
  std::chrono::sys_seconds toUtc(std::chrono::local_seconds local) const;
  std::chrono::local_seconds toLocal(std::chrono::sys_seconds utc) const;

 private:
  bool isSummer(std::chrono::local_seconds standard, ZoneSeconds endIsEarlierBy) const;

  ZoneSeconds offset_{0};
  std::optional<SummerTime> summer_;
};

// "+hh:mm", "+hhmm", "+hh", or "+mmm" (minutes), either sign, up to 18 hours.
std::optional<ZoneSeconds> parseOffset(std::string_view text);

// "3.last.0 02:00": month, week (1 to 4 or "last"), weekday (Sunday = 0), time.
std::optional<ClockChange> parseClockChange(std::string_view text);

}  // namespace sourcetype
