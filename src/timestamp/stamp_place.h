// Places in a line where a timestamp may begin: at a number, or at a word that begins like the name
// of a month or weekday. What a place looks like decides which forms are tried there.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "timestamp/calendar_names.h"

namespace sourcetype {

// What a place looks like, as a small number for tables.
class PlaceLook {
 public:
  static constexpr std::size_t kMostDigits = 19;  // of a number that stamps begin with
  static constexpr std::size_t kCount = 4 + kMostDigits * 256;

  static PlaceLook ofWord(CalendarNames::Beginning beginning) {
    return PlaceLook((beginning.month ? 1U : 0U) + (beginning.weekday ? 2U : 0U));
  }
  // Needs 1 to kMostDigits digits. `next` is the byte behind them, NUL at the line's end.
  static PlaceLook ofNumber(std::size_t digits, unsigned char next) {
    return PlaceLook(4 + (digits - 1) * 256 + next);
  }

  std::size_t index() const { return index_; }

 private:
  explicit PlaceLook(std::size_t index) : index_(index) {}
  std::size_t index_;
};

struct StampPlace {
  std::size_t offset;
  PlaceLook look;
};

// The places of a text, from left to right.
class StampPlaces {
 public:
  // Both arguments must outlive the object.
  StampPlaces(std::string_view text, const CalendarNames& names) : text_(text), names_(names) {}

  std::optional<StampPlace> next();
  // What is left of `offset` yields no more places.
  void skipTo(std::size_t offset) { offset_ = offset > offset_ ? offset : offset_; }

 private:
  std::string_view text_;
  const CalendarNames& names_;
  std::size_t offset_ = 0;
};

}  // namespace sourcetype
