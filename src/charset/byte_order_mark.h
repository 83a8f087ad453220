// Byte-order marks: signatures at the start of a file that name its charset.
#pragma once

#include <optional>
#include <string_view>

namespace sourcetype {

struct ByteOrderMark {
  std::string_view bytes;
  std::string_view charset;
};

// The mark at the beginning of `start`, the first bytes of a file; nothing if there is none.
std::optional<ByteOrderMark> findByteOrderMark(std::string_view start);

}  // namespace sourcetype
