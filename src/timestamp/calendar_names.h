// Names of months and weekdays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

class CalendarNames {
 public:
  static constexpr std::size_t kLeastLength = 3;  // bytes of a name

  // What a word is the name of; "mar" is March and, in France, Tuesday.
  struct Meaning {
    int month = 0;  // 1 to 12, 0 when it is no month
    bool weekday = false;
  };

  // False when the name is too short or stands for something else of the kind already.
  bool addMonth(std::string_view name, int month);
  bool addWeekday(std::string_view name);

  // False for most words that are no name, by how they begin.
  bool mayBeName(std::string_view word) const {
    return word.size() >= kLeastLength && groups_[hash(word)] != kNoGroup;
  }
  // Of a whole word.
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
  std::vector<std::vector<Name>> names_{1};    // by group; those of a group begin alike
};

}  // namespace sourcetype
