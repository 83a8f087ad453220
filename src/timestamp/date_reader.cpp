#include "timestamp/date_reader.h"

#include <cstdlib>
#include <span>

namespace sourcetype {
namespace {

using std::chrono::days;
using std::chrono::local_days;
using std::chrono::sys_seconds;
using std::chrono::year_month_day;

constexpr int kNoYear = -1;
// Short years from here on are in the 1900s, as in POSIX.
constexpr int kFirstShortYearOf1900s = 69;
// Two 29ths of February are at most this far apart, around a century without one.
constexpr int kMaxYearsApart = 8;

int fullYear(int shortYear) {
  return shortYear + (shortYear < kFirstShortYearOf1900s ? 2000 : 1900);
}

std::optional<local_days> calendarDay(int year, int month, int day) {
  if (month < 1 || month > 12 || day < 1 || day > 31) return std::nullopt;
  const year_month_day date{std::chrono::year(year),
                            std::chrono::month(static_cast<unsigned>(month)),
                            std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) return std::nullopt;
  return local_days(date);
}

int yearOf(sys_seconds time) {
  return static_cast<int>(year_month_day(std::chrono::floor<days>(time)).year());
}

std::optional<local_days> dayOfYear(int year, int day) {
  const auto first = calendarDay(year, 1, 1);
  if (!first || day < 1 || day > 366) return std::nullopt;
  const local_days date = *first + days(day - 1);
  if (static_cast<int>(year_month_day(date).year()) != year) return std::nullopt;
  return date;
}

// The first week of a year is the one with its first Thursday.
std::optional<local_days> dayOfWeek(int year, int week, int weekday) {
  const auto fourth = calendarDay(year, 1, 4);
  if (!fourth || week < 1 || week > 53) return std::nullopt;
  const auto monday = *fourth - (std::chrono::weekday(*fourth) - std::chrono::Monday);
  return monday + days(7 * (week - 1) + weekday - 1);
}

// Each kind of separator has its own evidence of the order.
std::size_t separatorIndex(char separator) {
  if (separator == '/' || separator == '\\') return 0;
  return separator == '.' ? 1 : 2;
}

struct Reading {
  DateOrder order;
  int year;
  int month;
  int day;
};

}  // namespace

std::optional<sys_seconds> DateReader::dated(int year, int month, int day,
                                             const TimeInZone& time) const {
  if (year == kNoYear) return withoutYear(month, day, time);
  if (year != lastDay_.year || month != lastDay_.month || day != lastDay_.day) {
    const auto date = calendarDay(year, month, day);
    if (!date) return std::nullopt;
    lastDay_ = {.year = year, .month = month, .day = day, .date = *date};
  }
  return withinLimits(time.on(lastDay_.date));
}

std::optional<sys_seconds> DateReader::withinLimits(sys_seconds time) const {
  return limits_.contain(time) ? std::optional(time) : std::nullopt;
}

std::optional<sys_seconds> DateReader::withoutYear(int month, int day,
                                                   const TimeInZone& time) const {
  const int referenceYear = yearOf(limits_.reference);
  std::optional<sys_seconds> closest;
  const auto consider = [&](int year) {
    const auto date = calendarDay(year, month, day);
    if (!date) return;
    const auto instant = time.on(*date);
    const auto distance = [&](sys_seconds to) { return std::chrono::abs(to - limits_.reference); };
    if (!limits_.contain(instant)) return;
    if (!closest || distance(instant) < distance(*closest)) closest = instant;
  };
  for (int apart = 0; apart <= kMaxYearsApart && (apart < 2 || !closest); ++apart) {
    consider(referenceYear - apart);
    if (apart > 0) consider(referenceYear + apart);
  }
  return closest;
}

std::optional<DateReader::Date> DateReader::inSomeOrder(const TimestampFields& fields,
                                                        const TimeInZone& time) const {
  const int first = fields.get(TimestampField::First);
  const int middle = fields.get(TimestampField::Middle);
  const bool lastIsYear = fields.has(TimestampField::Last);
  int year = fields.get(TimestampField::Year);
  if (lastIsYear) year = fullYear(fields.get(TimestampField::Last));

  const Reading monthFirst{
      .order = DateOrder::MonthDay, .year = year, .month = first, .day = middle};
  const Reading dayFirst{.order = DateOrder::DayMonth, .year = year, .month = middle, .day = first};
  const Reading yearFirst{.order = DateOrder::YearMonthDay,
                          .year = fullYear(first),
                          .month = middle,
                          .day = fields.get(TimestampField::Last)};
  const bool usuallyMonthFirst = separatorIndex(fields.separator) == 0 || year == kNoYear;
  const std::array readings{usuallyMonthFirst ? monthFirst : dayFirst,
                            usuallyMonthFirst ? dayFirst : monthFirst, yearFirst};
  const auto usable = std::span(readings).first(lastIsYear ? 3 : 2);

  const auto& evidence = evidence_[separatorIndex(fields.separator)];
  const int referenceYear = yearOf(limits_.reference);
  std::optional<sys_seconds> best;
  const Reading* bestReading = nullptr;
  int possible = 0;
  for (const Reading& reading : usable) {
    const auto date = dated(reading.year, reading.month, reading.day, time);
    if (!date) continue;
    ++possible;
    const auto isBetter = [&](const Reading& other) {
      const auto shown = evidence[static_cast<std::size_t>(reading.order)];
      const auto shownOther = evidence[static_cast<std::size_t>(other.order)];
      if (shown != shownOther) return shown > shownOther;
      return std::abs(reading.year - referenceYear) < std::abs(other.year - referenceYear);
    };
    if (bestReading != nullptr && !isBetter(*bestReading)) continue;
    best = date;
    bestReading = &reading;
  }
  if (!best) return std::nullopt;
  Date result{.time = *best, .evidence = std::nullopt};
  if (possible == 1) {
    result.evidence = {.separator = fields.separator, .order = bestReading->order};
  }
  return result;
}

std::optional<DateReader::Date> DateReader::read(const TimestampFields& fields,
                                                 const TimeInZone& time) const {
  if (fields.has(TimestampField::First)) return inSomeOrder(fields, time);
  int year = fields.get(TimestampField::Year);
  if (fields.has(TimestampField::ShortYear)) year = fullYear(fields.get(TimestampField::ShortYear));
  std::optional<local_days> day;
  std::optional<sys_seconds> result;
  if (fields.has(TimestampField::YearDay)) {
    day = dayOfYear(year == kNoYear ? yearOf(limits_.reference) : year,
                    fields.get(TimestampField::YearDay));
  } else if (fields.has(TimestampField::IsoWeek)) {
    day = dayOfWeek(year, fields.get(TimestampField::IsoWeek), fields.get(TimestampField::IsoDay));
  } else {
    result = dated(year, fields.get(TimestampField::Month), fields.get(TimestampField::Day), time);
  }
  if (day) result = withinLimits(time.on(*day));
  if (!result) return std::nullopt;
  return Date{.time = *result, .evidence = std::nullopt};
}

void DateReader::confirm(const OrderEvidence& evidence) {
  ++evidence_[separatorIndex(evidence.separator)][static_cast<std::size_t>(evidence.order)];
}

}  // namespace sourcetype
