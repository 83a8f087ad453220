// The signatures by which a file says what charset it is in.
#pragma once

#include <optional>
#include <string_view>

namespace sourcetype {

struct ByteOrderMark {
  std::string_view bytes;
  std::string_view charset;
};

// The mark that `start`, the first bytes of a file, begins with.
std::optional<ByteOrderMark> findByteOrderMark(std::string_view start);

}  // namespace sourcetype
