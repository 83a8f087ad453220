// A time zone: its offset from UTC and its summer time. time_zones.h finds one by its name.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string_view>

namespace sourcetype {

// Small, because every timestamp has a zone.
using ZoneSeconds = std::chrono::duration<std::int32_t>;

// When clocks are put forward or back, such as the last Sunday of March at 02:00.
struct ClockChange {
  std::chrono::month month{1};
  std::uint8_t week = 1;  // the first to fourth such weekday, 5 for the last
  std::chrono::weekday weekday{0};
  ZoneSeconds time{0};  // of the day, by the clock before the change; negative: the day before

  std::chrono::local_seconds in(std::chrono::year year) const;
};

struct SummerTime {
  ZoneSeconds offset{0};
  ClockChange begin;
  ClockChange end;
};

// An offset from UTC, and a rule of summer time that holds for every year.
class TimeZone {
 public:
  TimeZone() = default;  // UTC
  explicit TimeZone(ZoneSeconds offset, std::optional<SummerTime> summer = std::nullopt)
      : offset_(offset), summer_(summer) {}

  // A time that occurs twice counts as summer time, and so does a time that is skipped.
  std::chrono::sys_seconds toUtc(std::chrono::local_seconds local) const;
  std::chrono::local_seconds toLocal(std::chrono::sys_seconds utc) const;
  // East of UTC, in summer with summer time.
  ZoneSeconds offsetAt(std::chrono::sys_seconds utc) const;

 private:
  bool isSummer(std::chrono::local_seconds standard, ZoneSeconds endIsEarlierBy) const;

  ZoneSeconds offset_{0};
  std::optional<SummerTime> summer_;
};

// U+2212, which some programs write before an offset in place of "-".
constexpr std::string_view kMinusSign = "\xE2\x88\x92";

// Reads "+hh:mm", "+hhmm", "+hh", or "+mmm" (minutes), with "+", "-" or kMinusSign, up to 18 hours.
std::optional<ZoneSeconds> parseOffset(std::string_view text);

// Reads "3.last.0 02:00": month, week (1 to 4 or "last"), weekday (Sunday = 0), time.
std::optional<ClockChange> parseClockChange(std::string_view text);

}  // namespace sourcetype
