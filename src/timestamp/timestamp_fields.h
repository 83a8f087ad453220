// The fields of a timestamp: what the groups of a form matched, before they become an instant.
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "timestamp/time_zones.h"
#include "util/regex.h"

namespace sourcetype {

class CalendarNames;

// The names of the groups are the same in lower case.
enum class TimestampField : std::uint8_t {
  Year,
  Month,
  Day,
  ShortYear,
  First,
  Middle,
  Last,
  YearDay,
  IsoWeek,
  IsoDay,
  Hour,
  Minute,
  Second,
  Half,  // 0 am, 1 pm
  MonthName,
  Weekday,
  Fraction,
  Millis,
  Zone,
  Seconds,
  Millisecs,
  Microsecs,
  Nanosecs,
  DaySeconds,  // sets Hour, Minute and Second
  Tai64,
};
constexpr std::size_t kTimestampFields = 25;

// The field of a group with this name; "year_2" is another place of "year". Nothing for any other
// name.
std::optional<TimestampField> timestampFieldNamed(std::string_view group);

struct FieldGroup {
  std::uint16_t group;
  TimestampField field;
};

// The values of one match. The name of a month sets Month.
class TimestampFields {
 public:
  TimestampFields() { clear(); }

  void clear() {
    numbers_.fill(kAbsent);
    nanoseconds = 0;
    epoch.reset();
    zone.reset();
    separator = 0;
  }

  bool has(TimestampField field) const { return get(field) != kAbsent; }
  // -1 if absent.
  int get(TimestampField field) const { return numbers_[static_cast<std::size_t>(field)]; }
  // A number below 10,000.
  void set(TimestampField field, int number) {
    numbers_[static_cast<std::size_t>(field)] = static_cast<std::int16_t>(number);
  }

  bool hasDate() const;
  bool hasTime() const { return has(TimestampField::Hour) || epoch.has_value(); }
  // Nothing for an invalid time such as 13:75 or 14 am. Midnight if there is no time.
  std::optional<std::chrono::seconds> timeOfDay() const;

  std::int32_t nanoseconds = 0;
  std::optional<std::chrono::sys_seconds> epoch;
  std::optional<TimeZone> zone;
  char separator = 0;  // after First

 private:
  static constexpr int kAbsent = -1;
  std::array<std::int16_t, kTimestampFields> numbers_;
};

// Reads the groups of `match` into `fields`; `groups` must be in their order from left to right.
// Returns the end of the timestamp in `subject`, which is before the name of an unknown zone.
// Nothing if a name is not in `names` or a number is too long.
std::optional<std::size_t> readFields(const MatchResult& match, std::string_view subject,
                                      const std::vector<FieldGroup>& groups,
                                      const CalendarNames& names, const TimeZones& zones,
                                      TimestampFields& fields);

}  // namespace sourcetype
