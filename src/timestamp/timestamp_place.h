// Places in a line where a timestamp may begin: a number or the name of a month, after an optional
// weekday. The look of a place, which is its first bytes, decides which forms are tried there.
//
//   TimestampPlaces places(line, 0, names, looks);
//   while (const auto place = places.next()) tryForms(place->offset, place->look);
#pragma once

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "timestamp/calendar_names.h"

namespace sourcetype {

// The kind of the byte after a number. Other is the end of the line, or a byte that no form needs.
enum class ByteAfter : std::uint8_t {
  Other,
  Dash,
  Slash,
  Dot,
  Colon,
  Underscore,
  Comma,
  Semicolon,
  Bar,
  Backslash,
  Blank,
  UpperT,
  LowerT,
  Letter,
  NonAscii,
  Digit,
};
constexpr std::size_t kBytesAfter = 16;

ByteAfter byteAfter(std::string_view text, std::size_t offset);

// The two bytes after a number. If the second one is a digit, `beyond` is the byte after that
// second number, and Digit if the number has three digits or more.
struct BytesAfter {
  ByteAfter next = ByteAfter::Other;
  ByteAfter further = ByteAfter::Other;
  ByteAfter beyond = ByteAfter::Other;
};

// The look of a place, as an index for tables.
class PlaceLook {
 public:
  // Of a number that timestamps begin with: a TAI64N label can have 24 decimal digits.
  static constexpr std::size_t kMaxDigits = 24;
  // Ways to go on after the first byte: any byte but a digit, or a second number and its next byte.
  static constexpr std::size_t kWaysOn = kBytesAfter - 1 + kBytesAfter;
  static constexpr std::size_t kCount = 1 + kMaxDigits * kBytesAfter * kWaysOn;

  static PlaceLook ofMonth() { return PlaceLook(0); }
  // A number of 1 to kMaxDigits digits.
  static PlaceLook ofNumber(std::size_t digits, const BytesAfter& after) {
    const auto wayOn =
        static_cast<std::size_t>(after.further) +
        (after.further == ByteAfter::Digit ? static_cast<std::size_t>(after.beyond) : 0);
    return PlaceLook(
        1 + ((digits - 1) * kBytesAfter + static_cast<std::size_t>(after.next)) * kWaysOn + wayOn);
  }

  std::size_t index() const { return index_; }

 private:
  explicit PlaceLook(std::size_t index) : index_(index) {}
  std::size_t index_;
};

struct TimestampPlace {
  std::size_t start;   // of the timestamp, including a weekday before it
  std::size_t offset;  // where forms are tried; equal to `start` without a weekday
  PlaceLook look;
  bool continuesNumber = false;  // a number of few digits, after a digit and ".", ":", "-" or "/"
};

// Looks by their index.
using LookSet = std::bitset<PlaceLook::kCount>;

// Finds the places of a text that have one of the wanted looks, from left to right.
class TimestampPlaces {
 public:
  // Starts at `offset`. The arguments must outlive the object.
  TimestampPlaces(std::string_view text, std::size_t offset, const CalendarNames& names,
                  const LookSet& wanted)
      : text_(text), names_(names), wanted_(wanted), offset_(offset) {}

  std::optional<TimestampPlace> next();
  // Skips the places before `offset`.
  void skipTo(std::size_t offset) { offset_ = offset > offset_ ? offset : offset_; }

 private:
  bool continuesNumber(std::size_t start) const;
  std::size_t startOf(std::size_t offset) const {
    return offset == afterWeekday_ ? weekday_ : offset;
  }

  std::string_view text_;
  const CalendarNames& names_;
  const LookSet& wanted_;
  std::size_t offset_;
  std::size_t weekday_ = 0;                                  // the last one's start
  std::size_t afterWeekday_ = static_cast<std::size_t>(-1);  // and where a date may follow
};

}  // namespace sourcetype
