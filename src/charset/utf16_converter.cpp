#include "charset/utf16_converter.h"

#include "util/utf8.h"

namespace sourcetype {

std::size_t Utf16Converter::decode(std::string_view bytes, Input input, std::string& out) {
  if (!order_) {
    if (bytes.size() < 2 && input == Input::MayGoOn) return 0;
    order_ = orderByMark<2>(bytes);
  }
  std::size_t at = 0;
  for (; bytes.size() - at >= 2; at += 2) {
    const char32_t unit = readUnit<2>(bytes.substr(at), *order_);
    if (isScalarValue(unit)) {
      appendCharacter(unit, out);
      continue;
    }
    const bool hasNext = bytes.size() - at >= 4;
    if (!hasNext && input == Input::MayGoOn) return at;
    const char32_t next = hasNext ? readUnit<2>(bytes.substr(at + 2), *order_) : 0;
    if (isHighSurrogate(unit) && isLowSurrogate(next)) {
      appendCharacter(joinSurrogates(unit, next), out);
      at += 2;
    } else {
      appendInvalid(bytes.substr(at, 2), out);
    }
  }
  if (input == Input::MayGoOn || at == bytes.size()) return at;
  appendInvalid(bytes.substr(at), out);
  return bytes.size();
}

}  // namespace sourcetype
