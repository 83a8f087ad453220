// Names of months and weekdays, in any case.
//
//   names.addMonth("mar", 3);
//   if (names.mayBeName(word) && names.meaningOf(word).month != 0) ...
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

class CalendarNames {
 public:
  static constexpr std::size_t kMinLength = 3;  // bytes of a name

  // A word may be both: "mar" is March and, in French, Tuesday.
  struct Meaning {
    int month = 0;  // 1 to 12; 0 if it is no month
    bool weekday = false;
  };

  // False if the name is too short, or is the name of a month (or weekday) already.
  bool addMonth(std::string_view name, int month);
  bool addWeekday(std::string_view name);

  // False for most words that are no name. Looks at the first three bytes only.
  bool mayBeName(std::string_view word) const {
    return word.size() >= kMinLength && groups_[hash(word)] != kNoGroup;
  }
  // The meaning of a whole word.
  Meaning meaningOf(std::string_view word) const;

 private:
  // Letters of both cases share their low five bits.
  static std::size_t hash(std::string_view word) {
    return (static_cast<std::size_t>(word[0] & 31) << 10U) |
           (static_cast<std::size_t>(word[1] & 31) << 5U) | static_cast<std::size_t>(word[2] & 31);
  }
  static constexpr std::uint16_t kNoGroup = 0;
  struct Name {
    std::string text;  // in lower case
    Meaning meaning;
  };

  Meaning* entryFor(std::string_view name);

  std::array<std::uint16_t, 32768> groups_{};  // by the hash of a name
  std::vector<std::vector<Name>> names_{1};    // by group; names of a group have the same hash
};

}  // namespace sourcetype
