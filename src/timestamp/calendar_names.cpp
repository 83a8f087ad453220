#include "timestamp/calendar_names.h"

#include "util/text.h"

namespace sourcetype {

CalendarNames::Meaning* CalendarNames::entryFor(std::string_view name) {
  if (name.size() < kLeastLength) return nullptr;
  isBeginning_[hash(name)] = true;
  return &meanings_[toAsciiLower(name)];
}

bool CalendarNames::addMonth(std::string_view name, int month) {
  Meaning* meaning = entryFor(name);
  if (meaning == nullptr || meaning->month != 0) return false;
  meaning->month = month;
  return true;
}

bool CalendarNames::addWeekday(std::string_view name) {
  Meaning* meaning = entryFor(name);
  if (meaning == nullptr || meaning->weekday) return false;
  meaning->weekday = true;
  return true;
}

CalendarNames::Meaning CalendarNames::meaningOf(std::string_view word) const {
  if (!mayBeName(word)) return {};
  const auto found = meanings_.find(toAsciiLower(word));
  return found == meanings_.end() ? Meaning() : found->second;
}

}  // namespace sourcetype
