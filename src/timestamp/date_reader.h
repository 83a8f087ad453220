// From the fields of a date to a day: years that are missing or short, and numbers of which the
// order of day, month and year is not said.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

#include "timestamp/stamp_fields.h"

namespace sourcetype {

// What a stamp may name, both ends included.
struct TimeLimits {
  std::chrono::sys_seconds reference;
  std::chrono::sys_seconds earliest;
  std::chrono::sys_seconds latest;

  bool contain(std::chrono::sys_seconds time) const { return earliest <= time && time <= latest; }
};

// The time of day that goes with a date, and where it is that time.
struct TimeInZone {
  std::chrono::seconds timeOfDay;
  const TimeZone& zone;

  std::chrono::sys_seconds on(std::chrono::local_days day) const {
    return zone.toUtc(std::chrono::local_seconds(day) + timeOfDay);
  }
};

// What a date showed of the order that this file's dates are written in.
enum class DateOrder : std::uint8_t { MonthDay, DayMonth, YearMonthDay };
struct OrderEvidence {
  char separator = 0;
  DateOrder order = DateOrder::MonthDay;
};

class DateReader {
 public:
  explicit DateReader(const TimeLimits& limits) : limits_(limits) {}

  struct Date {
    std::chrono::sys_seconds time;
    std::optional<OrderEvidence> evidence;  // when only one order was possible
  };

  // The time within the limits, nothing when there is none. Without a year it is the one closest to
  // the reference. Of several possible orders it is the one with most evidence; without any, the
  // one whose year is closest to the reference, and then: month first before "/" and where a year
  // is missing, day first otherwise, a short year in front last.
  std::optional<Date> read(const StampFields& fields, const TimeInZone& time) const;

  // A date that was taken, so that dates to come are read in the same order.
  void confirm(const OrderEvidence& evidence);

 private:
  std::optional<std::chrono::sys_seconds> dated(int year, int month, int day,
                                                const TimeInZone& time) const;
  std::optional<std::chrono::sys_seconds> withoutYear(int month, int day,
                                                      const TimeInZone& time) const;
  std::optional<std::chrono::sys_seconds> withinLimits(std::chrono::sys_seconds time) const;
  std::optional<Date> inSomeOrder(const StampFields& fields, const TimeInZone& time) const;

  // The line before mostly has the same day.
  struct KnownDay {
    int year = 0;
    int month = 0;  // none
    int day = 0;
    std::chrono::local_days date;
  };

  TimeLimits limits_;
  mutable KnownDay lastDay_;
  std::array<std::array<std::uint32_t, 3>, 3> evidence_{};  // by separator and order
};

}  // namespace sourcetype
