#include "timestamp/calendar_names.h"

#include <algorithm>

#include "util/text.h"

namespace sourcetype {

CalendarNames::Meaning* CalendarNames::entryFor(std::string_view name) {
  if (name.size() < kMinLength) return nullptr;
  std::uint16_t& group = groups_[hash(name)];
  if (group == kNoGroup) {
    group = static_cast<std::uint16_t>(names_.size());
    names_.emplace_back();
  }
  auto& names = names_[group];
  const auto known = std::ranges::find_if(
      names, [&](const Name& other) { return equalsIgnoringCase(other.text, name); });
  if (known != names.end()) return &known->meaning;
  return &names.emplace_back(Name{.text = toAsciiLower(name), .meaning = {}}).meaning;
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
  for (const Name& name : names_[groups_[hash(word)]]) {
    if (equalsIgnoringCase(name.text, word)) return name.meaning;
  }
  return {};
}

}  // namespace sourcetype
