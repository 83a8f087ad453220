#include "timestamp/time_zone.h"

#include <charconv>
#include <system_error>

#include "util/text.h"

namespace sourcetype {
namespace {

using std::chrono::local_seconds;
using std::chrono::sys_seconds;

// The units of the standard library have 64 bits.
using hours = std::chrono::duration<std::int32_t, std::ratio<3600>>;
using minutes = std::chrono::duration<std::int32_t, std::ratio<60>>;

// No clock on Earth is further from UTC, and none ever was by more than this.
constexpr ZoneSeconds kMaxOffset = hours(18);

// The value of a text of digits; nothing for any other text.
std::optional<int> number(std::string_view digits) {
  int value = 0;
  const char* const end = digits.data() + digits.size();
  if (digits.empty() || !isAsciiDigit(digits.front())) return std::nullopt;
  const auto [parsedUpTo, error] = std::from_chars(digits.data(), end, value);
  if (error != std::errc() || parsedUpTo != end) return std::nullopt;
  return value;
}

std::optional<ZoneSeconds> parseTime(std::string_view text) {  // "hh:mm"
  if (text.size() != 5 || text[2] != ':') return std::nullopt;
  const auto hour = number(text.substr(0, 2));
  const auto minute = number(text.substr(3));
  if (!hour || !minute || *hour > 24 || *minute > 59) return std::nullopt;
  return hours(*hour) + minutes(*minute);
}

}  // namespace

local_seconds ClockChange::in(std::chrono::year year) const {
  const auto day = week > 4 ? std::chrono::local_days(year / month / weekday[std::chrono::last])
                            : std::chrono::local_days(year / month / weekday[week]);
  return local_seconds(day) + time;
}

// `standard` is a local time, by the wall clock if `endIsEarlierBy` is 0. By a clock that stays on
// standard time, summer time ends earlier by what it adds.
bool TimeZone::isSummer(local_seconds standard, ZoneSeconds endIsEarlierBy) const {
  const std::chrono::year_month_day date(std::chrono::floor<std::chrono::days>(standard));
  const auto begin = summer_->begin.in(date.year());
  const auto end = summer_->end.in(date.year()) - endIsEarlierBy;
  return begin <= end ? begin <= standard && standard < end : begin <= standard || standard < end;
}

sys_seconds TimeZone::toUtc(local_seconds local) const {
  const ZoneSeconds offset = summer_ && isSummer(local, ZoneSeconds(0)) ? summer_->offset : offset_;
  return sys_seconds(local.time_since_epoch() - offset);
}

ZoneSeconds TimeZone::offsetAt(sys_seconds utc) const {
  if (!summer_) return offset_;
  const local_seconds standard(utc.time_since_epoch() + offset_);
  return isSummer(standard, summer_->offset - offset_) ? summer_->offset : offset_;
}

local_seconds TimeZone::toLocal(sys_seconds utc) const {
  return local_seconds(utc.time_since_epoch() + offsetAt(utc));
}

std::optional<ZoneSeconds> parseOffset(std::string_view text) {
  const bool hasMinusSign = text.starts_with(kMinusSign);
  const std::size_t signBytes = hasMinusSign ? kMinusSign.size() : 1;
  if (text.size() <= signBytes) return std::nullopt;
  const bool west = hasMinusSign || text.front() == '-';
  if (!west && text.front() != '+') return std::nullopt;
  text.remove_prefix(signBytes);
  ZoneSeconds offset(0);
  if (const auto colon = text.find(':'); colon != std::string_view::npos || text.size() == 4) {
    if (colon != std::string_view::npos && text.size() != colon + 3) return std::nullopt;
    const auto hourDigits = text.substr(0, colon == std::string_view::npos ? 2 : colon);
    const auto minuteDigits = text.substr(text.size() - 2);
    if (hourDigits.size() > 2) return std::nullopt;
    const auto hour = number(hourDigits);
    const auto minute = number(minuteDigits);
    if (!hour || !minute || *minute > 59) return std::nullopt;
    offset = hours(*hour) + minutes(*minute);
  } else if (text.size() <= 3) {
    const auto count = number(text);
    if (!count) return std::nullopt;
    offset = text.size() == 3 ? ZoneSeconds(minutes(*count)) : ZoneSeconds(hours(*count));
  } else {
    return std::nullopt;
  }
  if (offset > kMaxOffset) return std::nullopt;
  return west ? -offset : offset;
}

std::optional<ClockChange> parseClockChange(std::string_view text) {
  const auto firstDot = text.find('.');
  const auto secondDot = text.find('.', firstDot + 1);
  const auto blank = text.find(' ');
  if (firstDot == std::string_view::npos || secondDot == std::string_view::npos ||
      blank == std::string_view::npos || blank < secondDot) {
    return std::nullopt;
  }
  const auto week = text.substr(firstDot + 1, secondDot - firstDot - 1);
  const auto month = number(text.substr(0, firstDot));
  const auto weekNumber = week == "last" ? std::optional(5) : number(week);
  const auto weekday = number(text.substr(secondDot + 1, blank - secondDot - 1));
  const auto time = parseTime(text.substr(blank + 1));
  if (!month || *month < 1 || *month > 12 || !weekNumber || *weekNumber < 1 || *weekNumber > 5 ||
      !weekday || *weekday > 6 || !time) {
    return std::nullopt;
  }
  return ClockChange{.month = std::chrono::month(static_cast<unsigned>(*month)),
                     .week = static_cast<std::uint8_t>(*weekNumber),
                     .weekday = std::chrono::weekday(static_cast<unsigned>(*weekday)),
                     .time = *time};
}

}  // namespace sourcetype
