// UTF-8 inside byte strings.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sourcetype {

constexpr char32_t kLastCodePoint = 0x10FFFF;

constexpr unsigned char byteAt(std::string_view bytes, std::size_t index) {
  return static_cast<unsigned char>(bytes[index]);
}

constexpr bool isHighSurrogate(char32_t unit) {
  return unit >= 0xD800 && unit <= 0xDBFF;
}
constexpr bool isLowSurrogate(char32_t unit) {
  return unit >= 0xDC00 && unit <= 0xDFFF;
}

constexpr bool isUtf8Continuation(unsigned char byte) {
  return (byte & 0xC0) == 0x80;
}

// The length that a lead byte promises for its sequence, in bytes; 1 for a byte that is no lead.
constexpr std::size_t lengthByLead(unsigned char lead) {
  if (lead < 0xC2 || lead > 0xF4) return 1;
  if (lead < 0xE0) return 2;
  return lead < 0xF0 ? 3 : 4;
}

// Whether UTF-8 can encode `c`: it is no surrogate and not above kLastCodePoint.
constexpr bool isScalarValue(char32_t c) {
  return c <= kLastCodePoint && !(c >= 0xD800 && c <= 0xDFFF);
}

// The character that a high and a low surrogate encode together.
constexpr char32_t joinSurrogates(char32_t high, char32_t low) {
  return 0x10000 + ((high - 0xD800) << 10) + (low - 0xDC00);
}

// Appends a scalar value as UTF-8.
void appendUtf8(char32_t c, std::string& out);

// The number of bytes at the start of `text` that are 01-7F: ASCII without NUL.
std::size_t asciiRunLength(std::string_view text);

// The number of bytes at the start of `text` that are whole, valid characters other than NUL.
std::size_t validUtf8Length(std::string_view text);

// `text` with U+FFFD for each NUL and for each byte that is part of no valid character.
std::string withInvalidUtf8Replaced(std::string_view text);

}  // namespace sourcetype
