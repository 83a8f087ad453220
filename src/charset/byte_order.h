// Reading units of two or four bytes.
#pragma once

#include <cstddef>
#include <string_view>

#include "util/utf8.h"

namespace sourcetype {

enum class ByteOrder { Big, Little };

// The unit in the first `kSize` of `bytes`; needs bytes.size() >= kSize.
template <std::size_t kSize>
char32_t readUnit(std::string_view bytes, ByteOrder order) {
  char32_t unit = 0;
  for (std::size_t i = 0; i < kSize; ++i) {
    unit = unit << 8 | byteAt(bytes, order == ByteOrder::Big ? i : kSize - 1 - i);
  }
  return unit;
}

// The byte order in which the first unit of `bytes` is a byte-order mark; big-endian if there is no
// mark.
template <std::size_t kSize>
ByteOrder orderByMark(std::string_view bytes) {
  constexpr char32_t kMark = 0xFEFF;
  const bool isLittle = bytes.size() >= kSize && readUnit<kSize>(bytes, ByteOrder::Little) == kMark;
  return isLittle ? ByteOrder::Little : ByteOrder::Big;
}

}  // namespace sourcetype
