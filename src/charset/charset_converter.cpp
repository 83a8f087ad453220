#include "charset/charset_converter.h"

#include <array>

namespace sourcetype {

void CharsetConverter::appendInvalid(std::string_view unit, std::string& out) {
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  for (const char c : unit) {
    const auto byte = static_cast<unsigned char>(c);
    const std::array escaped{'\\', 'x', kDigits[byte >> 4], kDigits[byte & 0xF]};
    out.append(escaped.data(), escaped.size());
  }
  ++invalidCount_;
}

}  // namespace sourcetype
