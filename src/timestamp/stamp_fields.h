// The fields of a timestamp as a form's groups hold them, before they make a date.
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

// Named as the groups are, in lower case.
enum class StampField : std::uint8_t {
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
};
constexpr std::size_t kStampFields = 23;

// The field that a group holds; "year_2" is another place of "year". Nothing for other names.
std::optional<StampField> stampFieldNamed(std::string_view group);

struct FieldGroup {
  std::uint16_t group;
  StampField field;
};

// What a match says. A month's name is in Month.
class StampFields {
 public:
  StampFields() { clear(); }

  void clear() {
    numbers_.fill(kAbsent);
    nanoseconds = 0;
    epoch.reset();
    zone.reset();
    separator = 0;
  }

  bool has(StampField field) const { return get(field) != kAbsent; }
  // -1 when absent.
  int get(StampField field) const { return numbers_[static_cast<std::size_t>(field)]; }
  // A number below 10,000.
  void set(StampField field, int number) {
    numbers_[static_cast<std::size_t>(field)] = static_cast<std::int16_t>(number);
  }

  bool hasDate() const;
  bool hasTime() const { return has(StampField::Hour) || epoch.has_value(); }
  // The time of the day; nothing for 13:75 or 14 am. Midnight when there is none.
  std::optional<std::chrono::seconds> timeOfDay() const;

  std::int32_t nanoseconds = 0;
  std::optional<std::chrono::sys_seconds> epoch;
  std::optional<TimeZone> zone;
  char separator = 0;  // behind First

 private:
  static constexpr int kAbsent = -1;
  std::array<std::int16_t, kStampFields> numbers_;
};

// Reads the groups of `match`, which are listed from left to right, and gives the end of the stamp
// in `subject`. Nothing when a name is none of the calendar's or a number too long. At an unknown
// zone's name the stamp ends.
std::optional<std::size_t> readFields(const MatchResult& match, std::string_view subject,
                                      const std::vector<FieldGroup>& groups,
                                      const CalendarNames& names, const TimeZones& zones,
                                      StampFields& fields);

}  // namespace sourcetype
