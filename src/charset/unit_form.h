// The forms of the units of a charset, as ranges of bytes.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>

#include "util/utf8.h"

namespace sourcetype {

struct ByteRange {
  unsigned char first, last;
};

// A byte of a 94x94 set with the high bit set.
inline constexpr ByteRange kGr{0xA1, 0xFE};

// A range for each byte of a unit, in their order; a range 00-00 ends the unit.
using UnitForm = std::array<ByteRange, 4>;

// In all charsets.
constexpr std::size_t kMaxUnitBytes = std::tuple_size_v<UnitForm>;

constexpr std::size_t lengthOf(const UnitForm& form) {
  const auto* const end = std::ranges::find(form, 0, &ByteRange::first);
  return static_cast<std::size_t>(end - form.begin());
}

// The number of bytes at the start of `bytes` that are in their ranges; at most lengthOf(form).
constexpr std::size_t fittingLength(const UnitForm& form, std::string_view bytes) {
  const std::size_t max = std::min(lengthOf(form), bytes.size());
  std::size_t fitting = 0;
  while (fitting < max && byteAt(bytes, fitting) >= form[fitting].first &&
         byteAt(bytes, fitting) <= form[fitting].last) {
    ++fitting;
  }
  return fitting;
}

}  // namespace sourcetype
