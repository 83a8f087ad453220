#include "charset/byte_order_mark.h"

#include <algorithm>
#include <array>

namespace sourcetype {
namespace {

using namespace std::string_view_literals;

// The first mark that matches is returned, so a longer mark comes before its own beginning.
constexpr std::array kByteOrderMarks{
    ByteOrderMark{"\xEF\xBB\xBF"sv, "UTF-8"sv},
    ByteOrderMark{"\xFE\xFF"sv, "UTF-16BE"sv},
    ByteOrderMark{"\xFF\xFE\x00\x00"sv, "UTF-32LE"sv},
    ByteOrderMark{"\xFF\xFE"sv, "UTF-16LE"sv},
    ByteOrderMark{"\x00\x00\xFE\xFF"sv, "UTF-32BE"sv},
    ByteOrderMark{"+/v8"sv, "UTF-7"sv},
    ByteOrderMark{"+/v9"sv, "UTF-7"sv},
    ByteOrderMark{"+/v+"sv, "UTF-7"sv},
    ByteOrderMark{"+/v/"sv, "UTF-7"sv},
    ByteOrderMark{"\xDD\x73\x66\x73"sv, "UTF-EBCDIC"sv},
};

}  // namespace

std::optional<ByteOrderMark> findByteOrderMark(std::string_view start) {
  const auto found = std::ranges::find_if(
      kByteOrderMarks, [&](const auto& mark) { return start.starts_with(mark.bytes); });
  if (found == kByteOrderMarks.end()) return std::nullopt;
  return *found;
}

}  // namespace sourcetype
