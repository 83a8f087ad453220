#include "charset/cesu8_converter.h"

#include <algorithm>
#include <optional>

#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr std::size_t cesu8LengthByLead(unsigned char lead) {
  if (lead < 0xC0 || lead > 0xF7) return 1;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

struct Sequence {
  std::size_t length = 1;         // of the lead byte and the continuation bytes present
  bool isWhole = false;           // the length is the one that the lead byte requires
  std::optional<char32_t> value;  // the UTF-16 unit when it is whole and well-formed
};

Sequence readSequence(std::string_view bytes) {
  Sequence result;
  const unsigned char lead = byteAt(bytes, 0);
  const std::size_t wanted = cesu8LengthByLead(lead);
  char32_t value = wanted == 1 ? lead : lead & (0x7FU >> wanted);
  while (result.length < std::min(wanted, bytes.size()) &&
         isUtf8Continuation(byteAt(bytes, result.length))) {
    value = value << 6 | (byteAt(bytes, result.length++) & 0x3F);
  }
  result.isWhole = result.length == wanted;
  const bool isWellFormed = (wanted == 1 && lead < 0x80) || (wanted == 2 && value >= 0x80) ||
                            (wanted == 3 && value >= 0x800);
  if (result.isWhole && isWellFormed) result.value = value;
  return result;
}

}  // namespace

std::size_t Cesu8Converter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  while (true) {
    const std::size_t ascii = asciiRunLength(bytes.substr(at));
    out.append(bytes, at, ascii);
    at += ascii;
    if (at == bytes.size()) return at;

    const Sequence first = readSequence(bytes.substr(at));
    const std::string_view rest = bytes.substr(at + first.length);
    const bool mayGoOn = input == Input::MayGoOn;
    if (!first.isWhole && rest.empty() && mayGoOn) return at;
    if (first.value && isHighSurrogate(*first.value)) {
      if (rest.empty() && mayGoOn) return at;
      const Sequence second = rest.empty() ? Sequence{} : readSequence(rest);
      if (!second.isWhole && second.length == rest.size() && mayGoOn) return at;
      if (second.value && isLowSurrogate(*second.value)) {
        appendCharacter(joinSurrogates(*first.value, *second.value), out);
        at += first.length + second.length;
        continue;
      }
    }
    if (first.value && isScalarValue(*first.value)) {
      appendCharacter(*first.value, out);
    } else {
      appendInvalid(bytes.substr(at, first.length), out);
    }
    at += first.length;
  }
}

}  // namespace sourcetype
