#include "charset/escape_converter.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "util/text.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

// The text that begins with a backslash.
struct Escape {
  std::size_t length = 0;  // in bytes; 0: this is not an escape
  char32_t character = 0;
  bool isCutOff = false;  // it may become an escape: the text ends too early
};

constexpr bool isHexDigit(char c) {
  return isAsciiDigit(c) || (c >= 'A' && c <= 'F') || (c >= 'a' && c <= 'f');
}

// Reads a backslash, `letter` and `digits` hexadecimal digits.
Escape readHexEscape(std::string_view text, char letter, std::size_t digits) {
  const std::string_view start = text.substr(0, 2 + digits);
  for (std::size_t i = 0; i < start.size(); ++i) {
    const bool fits = i == 0   ? start[i] == '\\'
                      : i == 1 ? start[i] == letter
                               : isHexDigit(start[i]);
    if (!fits) return {};
  }
  if (start.size() < 2 + digits) return {.isCutOff = true};
  std::uint32_t value = 0;
  std::from_chars(start.data() + 2, start.data() + start.size(), value, 16);
  return {.length = start.size(), .character = value};
}

Escape readC99Escape(std::string_view text) {
  Escape escape = readHexEscape(text, 'u', 4);
  if (escape.length == 0 && !escape.isCutOff) escape = readHexEscape(text, 'U', 8);
  const char32_t c = escape.character;
  const bool isAllowed = (c >= 0xA0 && isScalarValue(c)) || c == '$' || c == '@' || c == '`';
  return isAllowed || escape.isCutOff ? escape : Escape{};
}

Escape readJavaEscape(std::string_view text) {
  const Escape first = readHexEscape(text, 'u', 4);
  if (first.length == 0 || isScalarValue(first.character)) return first;
  if (isLowSurrogate(first.character)) return {};
  const Escape second = readHexEscape(text.substr(first.length), 'u', 4);
  if (second.isCutOff) return second;
  if (!isLowSurrogate(second.character)) return {};
  return {.length = first.length + second.length,
          .character = joinSurrogates(first.character, second.character)};
}

}  // namespace

std::size_t EscapeConverter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  // The next backslash. Each search begins after the last one, so all of them read the text once.
  std::size_t backslash = 0;
  while (at < bytes.size()) {
    if (backslash <= at) backslash = std::min(bytes.find('\\', at), bytes.size());
    const std::size_t plain = asciiRunLength(bytes.substr(at, backslash - at));
    out.append(bytes, at, plain);
    at += plain;
    if (at == bytes.size()) break;

    const std::string_view rest = bytes.substr(at);
    if (rest[0] != '\\') {
      appendInvalid(rest.substr(0, 1), out);
      ++at;
      continue;
    }
    const Escape escape = syntax_ == EscapeSyntax::C99 ? readC99Escape(rest) : readJavaEscape(rest);
    if (escape.isCutOff && input == Input::MayGoOn) return at;
    if (escape.length == 0) {
      out += '\\';
      ++at;
    } else {
      appendCharacter(escape.character, out);
      at += escape.length;
    }
  }
  return at;
}

}  // namespace sourcetype
