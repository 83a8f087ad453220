// Valid text is measured first and copied in one piece; only where it ends is a sequence looked at
// byte by byte.
#include "charset/utf8_converter.h"

#include <algorithm>

#include "util/utf8.h"

namespace sourcetype {
namespace {

// Bytes of the sequence that `text` starts with: its lead and the continuation bytes it has.
std::size_t sequenceLength(std::string_view text) {
  const std::size_t longest = std::min(lengthByLead(byteAt(text, 0)), text.size());
  std::size_t length = 1;
  while (length < longest && isUtf8Continuation(byteAt(text, length))) ++length;
  return length;
}

}  // namespace

std::size_t Utf8Converter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  while (true) {
    const std::size_t valid = validUtf8Length(bytes.substr(at));
    out.append(bytes, at, valid);
    at += valid;
    if (at == bytes.size()) return at;

    const std::size_t length = sequenceLength(bytes.substr(at));
    const bool isCutOff = at + length == bytes.size() && length < lengthByLead(byteAt(bytes, at));
    if (isCutOff && input == Input::MayGoOn) return at;
    for (const std::size_t end = at + length; at < end; ++at) {
      appendInvalid(bytes.substr(at, 1), out);
    }
  }
}

}  // namespace sourcetype
