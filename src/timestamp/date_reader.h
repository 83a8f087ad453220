// Turns the fields of a date into an instant. The year may be missing or have two digits, and the
// order of day, month and year may be unknown.
//
//   DateReader dates(limits);
//   if (const auto date = dates.read(fields, time); date && date->evidence) {
//     dates.confirm(*date->evidence);
//   }
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <optional>

#include "timestamp/timestamp_fields.h"

namespace sourcetype {

// The instants that a timestamp may name, `earliest` and `latest` included.
struct TimeLimits {
  std::chrono::sys_seconds reference;
  std::chrono::sys_seconds earliest;
  std::chrono::sys_seconds latest;

  bool contain(std::chrono::sys_seconds time) const { return earliest <= time && time <= latest; }
};

// The time of day that belongs to a date, and its zone.
struct TimeInZone {
  std::chrono::seconds timeOfDay;
  const TimeZone& zone;

  std::chrono::sys_seconds on(std::chrono::local_days day) const {
    return zone.toUtc(std::chrono::local_seconds(day) + timeOfDay);
  }
};

// A date that is valid in one order only. It shows the order of the file's dates that have the same
// separator.
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
    std::optional<OrderEvidence> evidence;  // if only one order is possible
  };

  // The instant of the fields, or nothing if no reading is within the limits. A date without a year
  // has the year closest to the reference. Of several possible orders the result has
  //   1. the one with the most evidence,
  //   2. the one whose year is closest to the reference,
  //   3. month first with "/" or "\" and where the year is missing, else day first; year first comes last.
  std::optional<Date> read(const TimestampFields& fields, const TimeInZone& time) const;

  // Counts evidence of a date that was accepted, so that later dates are read in the same order.
  void confirm(const OrderEvidence& evidence);

 private:
  std::optional<std::chrono::sys_seconds> dated(int year, int month, int day,
                                                const TimeInZone& time) const;
  std::optional<std::chrono::sys_seconds> withoutYear(int month, int day,
                                                      const TimeInZone& time) const;
  std::optional<std::chrono::sys_seconds> withinLimits(std::chrono::sys_seconds time) const;
  std::optional<Date> inSomeOrder(const TimestampFields& fields, const TimeInZone& time) const;

  // The day of the date before. Most lines have the same day as the line before.
  struct KnownDay {
    int year = 0;
    int month = 0;  // 0: no day yet
    int day = 0;
    std::chrono::local_days date;
  };

  TimeLimits limits_;
  mutable KnownDay lastDay_;
  std::array<std::array<std::uint32_t, 3>, 3> evidence_{};  // by separator and order
};

}  // namespace sourcetype
