// Names of months and weekdays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>

namespace sourcetype {

class CalendarNames {
 public:
  static constexpr std::size_t kLeastLength = 3;  // bytes of a name

  // What a word may be the beginning of.
  struct Beginning {
    bool month = false;
    bool weekday = false;
  };

  // False when the name is too short or stands for something else already.
  bool addMonth(std::string_view name, int month);
  bool addWeekday(std::string_view name);

  std::optional<int> month(std::string_view name) const;
  bool isWeekday(std::string_view name) const;

  // By the first three bytes alone; never misses a name. Needs as many bytes.
  Beginning beginningOf(const char* word) const;

 private:
  // Letters of both cases share their low five bits.
  static std::size_t hash(const char* word) {
    return (static_cast<std::size_t>(word[0] & 31) << 10U) |
           (static_cast<std::size_t>(word[1] & 31) << 5U) | static_cast<std::size_t>(word[2] & 31);
  }

  std::unordered_map<std::string, int> months_;     // in lower case
  std::unordered_set<std::string> weekdays_;     // likewise
  std::array<std::uint8_t, 32768> beginnings_{};  // by hash(): 1 month, 2 weekday, 3 both
};

}  // namespace sourcetype
