// Small helpers for ASCII inside byte strings; no locale is asked.
#pragma once

#include <algorithm>
#include <string>
#include <string_view>

namespace sourcetype {

constexpr bool isAsciiUpper(char c) {
  return c >= 'A' && c <= 'Z';
}
constexpr bool isAsciiLower(char c) {
  return c >= 'a' && c <= 'z';
}
constexpr bool isAsciiLetter(char c) {
  return isAsciiUpper(c) || isAsciiLower(c);
}
constexpr bool isAsciiDigit(char c) {
  return c >= '0' && c <= '9';
}
// As isspace() in the C locale.
constexpr bool isAsciiSpace(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}
constexpr bool isAsciiControl(char c) {
  return (c >= '\0' && c < ' ') || c == '\x7F';
}

// Bytes of the control character that `text` begins with: one of ASCII, or U+0080 to U+009F in
// UTF-8, which some terminals obey as they obey ESC. 0 where it begins with none.
constexpr std::size_t controlLength(std::string_view text) {
  if (text.empty()) return 0;
  if (isAsciiControl(text[0])) return 1;
  if (text[0] != '\xC2' || text.size() == 1) return 0;
  const auto second = static_cast<unsigned char>(text[1]);
  return second >= 0x80 && second <= 0x9F ? 2 : 0;
}

constexpr char toAsciiLower(char c) {
  return isAsciiUpper(c) ? static_cast<char>(c + ('a' - 'A')) : c;
}
constexpr char toAsciiUpper(char c) {
  return isAsciiLower(c) ? static_cast<char>(c - ('a' - 'A')) : c;
}

inline std::string toAsciiUpper(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char c) { return toAsciiUpper(c); });
  return result;
}

inline std::string toAsciiLower(std::string_view text) {
  std::string result(text);
  std::ranges::transform(result, result.begin(), [](char c) { return toAsciiLower(c); });
  return result;
}

constexpr bool equalsIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::equal(a, b,
                            [](char x, char y) { return toAsciiLower(x) == toAsciiLower(y); });
}

// As "<", but quick where the texts differ in their first bytes, as neighbours in a sorted list do.
constexpr bool isBeforeInBytes(std::string_view a, std::string_view b) {
  const std::size_t common = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < common; ++i) {
    if (a[i] != b[i]) return static_cast<unsigned char>(a[i]) < static_cast<unsigned char>(b[i]);
  }
  return a.size() < b.size();
}

constexpr bool isBlank(char c) {
  return c == ' ' || c == '\t';
}

// Without the blanks and tabs at both ends. An empty result stands where the text did.
constexpr std::string_view trimBlanks(std::string_view text) {
  while (!text.empty() && isBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text;
}

}  // namespace sourcetype
