// Valid text is measured first and copied in one piece; only where it ends is a sequence looked at
// byte by byte.
#include "classifier/sampling/utf8_converter.h"

#include <algorithm>

#include "classifier/sampling/utf8_text.h"

namespace sourcetype {
namespace {

constexpr bool isContinuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// Bytes that a sequence with this lead byte should have; 1 for a byte that is no lead.
constexpr std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0xC2 || lead > 0xF4) return 1;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

// The second byte alone tells whether a sequence of three or four is overlong (after E0, F0), a
// surrogate (ED) or past U+10FFFF (F4).
constexpr bool isThreeByteStart(unsigned char lead, unsigned char second) {
  const unsigned first = lead == 0xE0 ? 0xA0 : 0x80;
  const unsigned last = lead == 0xED ? 0x9F : 0xBF;
  return second >= first && second <= last;
}

constexpr bool isFourByteStart(unsigned char lead, unsigned char second) {
  const unsigned first = lead == 0xF0 ? 0x90 : 0x80;
  const unsigned last = lead == 0xF4 ? 0x8F : 0xBF;
  return second >= first && second <= last;
}

// Length of the valid multi-byte character that `text` starts with; 0 when there is none.
std::size_t multiByteLength(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  const std::size_t length = lengthByLead(lead);
  if (text.size() < length) return 0;
  switch (length) {
    case 2:
      return isContinuation(byteAt(text, 1)) ? 2 : 0;
    case 3:
      return isThreeByteStart(lead, byteAt(text, 1)) && isContinuation(byteAt(text, 2)) ? 3 : 0;
    case 4:
      return isFourByteStart(lead, byteAt(text, 1)) && isContinuation(byteAt(text, 2)) &&
                     isContinuation(byteAt(text, 3))
                 ? 4
                 : 0;
    default:
      return 0;
  }
}

// How many bytes at the start of `text` are whole valid characters other than NUL.
std::size_t validLength(std::string_view text) {
  std::size_t at = 0;
  while (true) {
    at += asciiRunLength(text.substr(at));
    const std::size_t multiByteStart = at;
    while (at < text.size()) {
      const std::size_t length = multiByteLength(text.substr(at));
      if (length == 0) break;
      at += length;
    }
    if (at == multiByteStart || at == text.size()) return at;
  }
}

// Bytes of the sequence that `text` starts with: its lead and the continuation bytes it has.
std::size_t sequenceLength(std::string_view text) {
  const std::size_t longest = std::min(lengthByLead(byteAt(text, 0)), text.size());
  std::size_t length = 1;
  while (length < longest && isContinuation(byteAt(text, length))) ++length;
  return length;
}

}  // namespace

std::size_t Utf8Converter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  while (true) {
    const std::size_t valid = validLength(bytes.substr(at));
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
