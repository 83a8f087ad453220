#include "charset/utf32_converter.h"

#include "util/utf8.h"

namespace sourcetype {

std::size_t Utf32Converter::decode(std::string_view bytes, Input input, std::string& out) {
  if (!order_) {
    if (bytes.size() < 4 && input == Input::MayGoOn) return 0;
    order_ = orderByMark<4>(bytes);
  }
  std::size_t at = 0;
  for (; bytes.size() - at >= 4; at += 4) {
    const std::string_view unit = bytes.substr(at, 4);
    if (const char32_t c = readUnit<4>(unit, *order_); isScalarValue(c)) {
      appendCharacter(c, out);
    } else {
      appendInvalid(unit, out);
    }
  }
  if (input == Input::MayGoOn || at == bytes.size()) return at;
  appendInvalid(bytes.substr(at), out);
  return bytes.size();
}

}  // namespace sourcetype
