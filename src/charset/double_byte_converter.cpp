#include "charset/double_byte_converter.h"

#include "util/utf8.h"

namespace sourcetype {

std::size_t DoubleByteConverter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    const unsigned char first = byteAt(bytes, at);
    const bool hasSecond = at + 1 < bytes.size();
    if (isDoubleByteHalf(first) && !hasSecond && input == Input::MayGoOn) break;
    const unsigned char second = hasSecond ? byteAt(bytes, at + 1) : 0;
    if (isDoubleByteHalf(first) && isDoubleByteHalf(second)) {
      const std::string_view text = table_->text(first, second);
      if (text.empty()) {
        appendInvalid(bytes.substr(at, 2), out);
      } else {
        out += text;
      }
      at += 2;
    } else {
      if (isDoubleByteHalf(first) || first >= 0x80) {
        appendInvalid(bytes.substr(at, 1), out);
      } else {
        appendCharacter(first, out);
      }
      ++at;
    }
  }
  return at;
}

}  // namespace sourcetype
