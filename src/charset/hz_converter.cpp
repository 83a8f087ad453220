#include "charset/hz_converter.h"

#include "util/utf8.h"

namespace sourcetype {

std::size_t HzConverter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    const std::string_view rest = bytes.substr(at);
    const bool wantsSecond = rest[0] == '~' || (isShifted_ && isDoubleByteHalf(byteAt(rest, 0)));
    if (wantsSecond && rest.size() == 1 && input == Input::MayGoOn) break;
    if (rest[0] == '~' && rest.size() > 1 && takeTilde(rest[1], out)) {
      at += 2;
    } else {
      at += takeByte(rest, out);
    }
  }
  return at;
}

// Converts the escape of "~" and the byte after it; false when they are not an escape.
bool HzConverter::takeTilde(char next, std::string& out) {
  if (isShifted_) {
    if (next != '}') return false;
    isShifted_ = false;
    return true;
  }
  if (next == '~') out += '~';
  isShifted_ = next == '{';
  return isShifted_ || next == '~' || next == '\n';
}

// Converts one byte or pair of the current set. Returns the number of bytes.
std::size_t HzConverter::takeByte(std::string_view rest, std::string& out) {
  const unsigned char first = byteAt(rest, 0);
  if (first == '\n') isShifted_ = false;
  if (first == '~' || first >= 0x80 || (isShifted_ && !isDoubleByteHalf(first))) {
    appendInvalid(rest.substr(0, 1), out);
    return 1;
  }
  if (!isShifted_) {
    appendCharacter(first, out);
    return 1;
  }
  const bool isPair = rest.size() > 1 && isDoubleByteHalf(byteAt(rest, 1));
  const std::string_view text = isPair ? gb2312_->text(first, byteAt(rest, 1)) : std::string_view();
  const std::size_t length = isPair ? 2 : 1;
  if (text.empty()) {
    appendInvalid(rest.substr(0, length), out);
  } else {
    out += text;
  }
  return length;
}

}  // namespace sourcetype
