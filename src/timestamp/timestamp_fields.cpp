#include "timestamp/timestamp_fields.h"

#include <algorithm>
#include <charconv>
#include <string>
#include <system_error>

#include "timestamp/calendar_names.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using std::chrono::hours;
using std::chrono::minutes;
using std::chrono::seconds;
using std::chrono::sys_seconds;

// In the order of TimestampField.
constexpr std::array<std::string_view, kTimestampFields> kFieldNames{
    "year",      "month",    "day",        "shortyear", "first",  "middle",  "last",
    "yearday",   "isoweek",  "isoday",     "hour",      "minute", "second",  "half",
    "monthname", "weekday",  "fraction",   "millis",    "zone",   "seconds", "millisecs",
    "microsecs", "nanosecs", "dayseconds", "tai64",
};

constexpr std::size_t kNanosecondDigits = 9;

// Digits of a field; none has more than a year.
constexpr std::size_t kMaxFieldDigits = 4;
// Digits of a count since 1970, as nanoseconds have. All such numbers fit in 64 bits.
constexpr std::size_t kMaxEpochDigits = 19;

constexpr int kSecondsPerDay = 86'400;
constexpr std::size_t kSecondsOfDayDigits = 5;

constexpr std::uint32_t kNanosecondsPerSecond = 1'000'000'000;
// Labels further from 1970 than this, about 2,700 years, are rejected.
constexpr std::uint64_t kMaxTai64Seconds = std::uint64_t{1'000'000} * kSecondsPerDay;

// The value of up to `maxDigits` digits, with blanks before them; nothing for any other text.
template <class Number>
std::optional<Number> parse(std::string_view digits, std::size_t maxDigits) {
  while (digits.starts_with(' ')) digits.remove_prefix(1);
  if (digits.empty() || digits.size() > maxDigits) return std::nullopt;
  Number value = 0;
  for (const char digit : digits) {
    if (!isAsciiDigit(digit)) return std::nullopt;
    value = value * 10 + static_cast<Number>(digit - '0');
  }
  return value;
}

// The value of the digits after a decimal sign. Digits after the ninth are ignored.
std::int32_t nanosecondsOf(std::string_view digits) {
  constexpr std::array<std::int32_t, kNanosecondDigits + 1> kUnits{
      1'000'000'000, 100'000'000, 10'000'000, 1'000'000, 100'000, 10'000, 1'000, 100, 10, 1};
  digits = digits.substr(0, kNanosecondDigits);
  std::int32_t value = 0;
  for (const char digit : digits) value = value * 10 + (digit - '0');
  return value * kUnits[digits.size()];
}

// Reads a count of units since 1970. A second has `perSecond` units.
bool readEpoch(std::string_view digits, std::uint32_t perSecond, TimestampFields& fields) {
  const auto count = parse<std::uint64_t>(digits, kMaxEpochDigits);
  if (!count) return false;
  fields.epoch = sys_seconds(seconds(static_cast<std::int64_t>(*count / perSecond)));
  if (perSecond > 1) {
    fields.nanoseconds =
        static_cast<std::int32_t>(*count % perSecond * (1'000'000'000 / perSecond));
  }
  return true;
}

// Reads the seconds since midnight.
bool readSecondsOfDay(std::string_view digits, TimestampFields& fields) {
  const auto count = parse<int>(digits, kSecondsOfDayDigits);
  if (!count || *count >= kSecondsPerDay) return false;
  fields.set(TimestampField::Hour, *count / 3600);
  fields.set(TimestampField::Minute, *count / 60 % 60);
  fields.set(TimestampField::Second, *count % 60);
  return true;
}

// True for "pm" in any case, and for the Japanese, Chinese and Korean words.
bool isAfternoon(std::string_view half) {
  return toAsciiLower(half.front()) == 'p' || half == "午後" || half == "下午" || half == "오후";
}

std::optional<std::uint64_t> parseHex(std::string_view digits) {
  std::uint64_t value = 0;
  const char* const end = digits.data() + digits.size();
  const auto [parsedUpTo, error] = std::from_chars(digits.data(), end, value, 16);
  if (error != std::errc() || parsedUpTo != end) return std::nullopt;
  return value;
}

// Reads a TAI64 label (16 hexadecimal digits), or a TAI64N label, which has eight more digits for
// the nanoseconds. Programs that write labels count 10 seconds between TAI and UTC at all times.
bool readTai64(std::string_view label, TimestampFields& fields) {
  constexpr std::uint64_t kLabelOf1970 = (std::uint64_t{1} << 62U) + 10;
  constexpr std::size_t kSecondDigits = 16;
  if (label.size() < kSecondDigits) return false;
  const auto second = parseHex(label.substr(0, kSecondDigits));
  const auto nanoseconds = parseHex("0" + std::string(label.substr(kSecondDigits)));
  if (!second || *second < kLabelOf1970 || *second - kLabelOf1970 > kMaxTai64Seconds) return false;
  if (!nanoseconds || *nanoseconds >= kNanosecondsPerSecond) return false;
  fields.epoch = sys_seconds(seconds(static_cast<std::int64_t>(*second - kLabelOf1970)));
  fields.nanoseconds = static_cast<std::int32_t>(*nanoseconds);
  return true;
}

bool readNumber(std::string_view digits, TimestampField field, TimestampFields& fields) {
  if (digits.size() == 2 && isAsciiDigit(digits[0]) && isAsciiDigit(digits[1])) {
    fields.set(field, (digits[0] - '0') * 10 + (digits[1] - '0'));
    return true;
  }
  const auto value = parse<int>(digits, kMaxFieldDigits);
  if (!value) return false;
  fields.set(field, *value);
  return true;
}

// Reads any field except the zone. False if the text is not a value of the field.
bool readField(std::string_view text, TimestampField field, const CalendarNames& names,
               TimestampFields& fields) {
  if (field <= TimestampField::Second) return readNumber(text, field, fields);
  switch (field) {
    case TimestampField::MonthName: {
      const int month = names.meaningOf(text).month;
      if (month != 0) fields.set(TimestampField::Month, month);
      return month != 0;
    }
    case TimestampField::Weekday:
      return names.meaningOf(text).weekday;
    case TimestampField::Half:
      fields.set(field, isAfternoon(text) ? 1 : 0);
      return true;
    case TimestampField::Fraction:
      fields.nanoseconds = nanosecondsOf(text);
      return true;
    case TimestampField::Millis: {
      const auto value = parse<int>(text, 3);
      if (!value) return false;
      fields.nanoseconds = *value * 1'000'000;
      return true;
    }
    case TimestampField::Seconds:
      return readEpoch(text, 1, fields);
    case TimestampField::Millisecs:
      return readEpoch(text, 1'000, fields);
    case TimestampField::Microsecs:
      return readEpoch(text, 1'000'000, fields);
    case TimestampField::Nanosecs:
      return readEpoch(text, 1'000'000'000, fields);
    case TimestampField::DaySeconds:
      return readSecondsOfDay(text, fields);
    case TimestampField::Tai64:
      return readTai64(text, fields);
    default:
      return false;
  }
}

}  // namespace

std::optional<TimestampField> timestampFieldNamed(std::string_view group) {
  const auto mark = group.find('_');
  const auto name = group.substr(0, mark);
  if (mark != std::string_view::npos && !parse<int>(group.substr(mark + 1), kMaxFieldDigits)) {
    return std::nullopt;
  }
  const auto found = std::ranges::find(kFieldNames, name);
  if (found == kFieldNames.end()) return std::nullopt;
  return static_cast<TimestampField>(found - kFieldNames.begin());
}

bool TimestampFields::hasDate() const {
  return epoch || has(TimestampField::Day) || has(TimestampField::First) ||
         has(TimestampField::YearDay) || has(TimestampField::IsoWeek);
}

std::optional<seconds> TimestampFields::timeOfDay() const {
  int hour = std::max(get(TimestampField::Hour), 0);
  const int half = get(TimestampField::Half);
  if (half >= 0 && hour == 12) hour = 0;
  if (half == 1 && hour < 12) hour += 12;
  const int minute = std::max(get(TimestampField::Minute), 0);
  const int second = std::max(get(TimestampField::Second), 0);
  if (hour > 23 || minute > 59 || second > 60) return std::nullopt;
  return hours(hour) + minutes(minute) + seconds(second);
}

std::optional<std::size_t> readFields(const MatchResult& match, std::string_view subject,
                                      const std::vector<FieldGroup>& groups,
                                      const CalendarNames& names, const TimeZones& zones,
                                      TimestampFields& fields) {
  fields.clear();
  const auto offsets = match.offsets();
  for (const auto& [group, field] : groups) {
    const std::size_t at = std::size_t{2} * group;
    if (at >= offsets.size()) break;
    const std::size_t start = offsets[at];
    const std::size_t end = offsets[at + 1];
    if (start == end) continue;  // absent as well
    const std::string_view text(subject.data() + start, end - start);
    if (field == TimestampField::Zone) {
      const bool isLast = end == match.end(0);
      const bool maybeWord = isLast && end < subject.size() && subject[end] == ' ';
      if (const auto zone = maybeWord ? zones.findUnlessWord(text) : zones.find(text)) {
        if (!fields.zone) fields.zone = zone;  // a name may follow an offset
        continue;
      }
      // What a date or year follows is a zone, though an unknown one.
      if (!isLast && isAsciiLetter(text.front())) continue;
      return start > 0 && isOneOf(subject[start - 1], " [") ? start - 1 : start;
    }
    if (!readField(text, field, names, fields)) return std::nullopt;
    if (field == TimestampField::First && end < subject.size()) {
      fields.separator = subject[end];
    }
  }
  return match.end(0);
}

}  // namespace sourcetype
