// Places in a line where a timestamp may begin: at a number, or at the name of a month; a
// weekday may stand in front. What a place looks like decides which forms are tried there.
#pragma once

#include <array>
#include <bitset>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "timestamp/calendar_names.h"
#include "util/text.h"

namespace sourcetype {

// The byte behind a number; what no form asks for is Other, as the line's end is.
enum class ByteBehind : std::uint8_t {
  Other,
  Dash,
  Slash,
  Dot,
  Colon,
  Underscore,
  Comma,
  Semicolon,
  Bar,
  Blank,
  UpperT,
  LowerT,
  Letter,
  NonAscii,
  Digit,
};
constexpr std::size_t kBytesBehind = 15;

ByteBehind byteBehind(std::string_view text, std::size_t offset);

// What follows a number: two bytes and, when the second is a digit, the byte behind that second
// number, which is Digit for a number of three digits or more.
struct BytesBehind {
  ByteBehind next = ByteBehind::Other;
  ByteBehind further = ByteBehind::Other;
  ByteBehind beyond = ByteBehind::Other;
};

// What a place looks like, as a small number for tables.
class PlaceLook {
 public:
  static constexpr std::size_t kMostDigits = 19;  // of a number that stamps begin with
  // Another byte than a digit, or a number and what is behind it.
  static constexpr std::size_t kWaysOn = kBytesBehind - 1 + kBytesBehind;
  static constexpr std::size_t kCount = 1 + kMostDigits * kBytesBehind * kWaysOn;

  static PlaceLook ofMonth() { return PlaceLook(0); }
  // A number of 1 to kMostDigits digits.
  static PlaceLook ofNumber(std::size_t digits, const BytesBehind& behind) {
    const auto wayOn =
        static_cast<std::size_t>(behind.further) +
        (behind.further == ByteBehind::Digit ? static_cast<std::size_t>(behind.beyond) : 0);
    return PlaceLook(
        1 + ((digits - 1) * kBytesBehind + static_cast<std::size_t>(behind.next)) * kWaysOn +
        wayOn);
  }

  std::size_t index() const { return index_; }

 private:
  explicit PlaceLook(std::size_t index) : index_(index) {}
  std::size_t index_;
};

struct StampPlace {
  std::size_t start;   // of a weekday in front, which belongs to the stamp
  std::size_t offset;  // where forms are tried; the same without a weekday
  PlaceLook look;
  bool continuesNumber = false;  // a number of few digits behind a digit and ".", ":", "-" or "/"
};

// Looks by their index.
using LookSet = std::bitset<PlaceLook::kCount>;

// The places of a text that have one of the looks wanted, from left to right.
class StampPlaces {
 public:
  // From `offset` on. What is passed must outlive the object.
  StampPlaces(std::string_view text, std::size_t offset, const CalendarNames& names,
              const LookSet& wanted)
      : text_(text), names_(names), wanted_(wanted), offset_(offset) {}

  std::optional<StampPlace> next();
  // What is left of `offset` yields no more places.
  void skipTo(std::size_t offset) { offset_ = offset > offset_ ? offset : offset_; }

 private:
  bool continuesNumber(std::size_t start) const;
  std::size_t startOf(std::size_t offset) const {
    return offset == behindWeekday_ ? weekday_ : offset;
  }

  std::string_view text_;
  const CalendarNames& names_;
  const LookSet& wanted_;
  std::size_t offset_;
  std::size_t weekday_ = 0;                                   // the last one's start
  std::size_t behindWeekday_ = static_cast<std::size_t>(-1);  // and where a date may follow
};

}  // namespace sourcetype
