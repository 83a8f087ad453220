// How bytes make up the units of a charset.
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

// The ranges that the bytes of a unit lie in, one after the other; a range 00-00 ends the unit.
using UnitForm = std::array<ByteRange, 4>;

// No charset has longer units.
constexpr std::size_t kLongestUnit = std::tuple_size_v<UnitForm>;

constexpr std::size_t lengthOf(const UnitForm& form) {
  const auto* const end = std::ranges::find(form, 0, &ByteRange::first);
  return static_cast<std::size_t>(end - form.begin());
}

// How many bytes at the start of `bytes` lie in their ranges, at most lengthOf(form).
constexpr std::size_t fittingLength(const UnitForm& form, std::string_view bytes) {
  const std::size_t longest = std::min(lengthOf(form), bytes.size());
  std::size_t fitting = 0;
  while (fitting < longest && byteAt(bytes, fitting) >= form[fitting].first &&
         byteAt(bytes, fitting) <= form[fitting].last) {
    ++fitting;
  }
  return fitting;
}

}  // namespace sourcetype
