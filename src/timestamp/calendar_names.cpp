#include "timestamp/calendar_names.h"

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::uint8_t kMonth = 1;
constexpr std::uint8_t kWeekday = 2;

}  // namespace

bool CalendarNames::addMonth(std::string_view name, int month) {
  if (name.size() < kLeastLength) return false;
  if (!months_.emplace(toAsciiLower(name), month).second) return false;
  beginnings_[hash(name.data())] |= kMonth;
  return true;
}

bool CalendarNames::addWeekday(std::string_view name) {
  if (name.size() < kLeastLength) return false;
  if (!weekdays_.insert(toAsciiLower(name)).second) return false;
  beginnings_[hash(name.data())] |= kWeekday;
  return true;
}

std::optional<int> CalendarNames::month(std::string_view name) const {
  const auto found = months_.find(toAsciiLower(name));
  return found == months_.end() ? std::nullopt : std::optional(found->second);
}

bool CalendarNames::isWeekday(std::string_view name) const {
  return weekdays_.contains(toAsciiLower(name));
}

CalendarNames::Beginning CalendarNames::beginningOf(const char* word) const {
  const auto bits = beginnings_[hash(word)];
  return {.month = (bits & kMonth) != 0, .weekday = (bits & kWeekday) != 0};
}

}  // namespace sourcetype
