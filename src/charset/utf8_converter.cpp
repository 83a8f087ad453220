// Finds the end of the valid text and copies this text in one piece. Only the sequence after it is
// examined byte by byte.
#include "charset/utf8_converter.h"

#include <algorithm>

#include "util/utf8.h"

namespace sourcetype {
namespace {

// The size of the sequence that `text` begins with: the lead byte and the continuation bytes
// present.
std::size_t sequenceLength(std::string_view text) {
  const std::size_t max = std::min(lengthByLead(byteAt(text, 0)), text.size());
  std::size_t length = 1;
  while (length < max && isUtf8Continuation(byteAt(text, length))) ++length;
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
