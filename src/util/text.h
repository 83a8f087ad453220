// Helpers for ASCII in byte strings. They do not depend on the locale.
#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

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

// The length of the control character that `text` begins with, in bytes; 0 if it begins with none.
// U+0080 to U+009F count, too: some terminals obey them as they obey ESC.
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

// The same as "<", but faster for texts that differ in their first bytes.
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

// Whether `set` contains `c`.
constexpr bool isOneOf(char c, std::string_view set) {
  return set.find(c) != std::string_view::npos;
}

// `text` without the characters of `set` at both ends. An empty result points into `text`, too.
constexpr std::string_view trim(std::string_view text, std::string_view set) {
  while (!text.empty() && isOneOf(text.front(), set)) text.remove_prefix(1);
  while (!text.empty() && isOneOf(text.back(), set)) text.remove_suffix(1);
  return text;
}

constexpr std::string_view trimBlanks(std::string_view text) {
  return trim(text, " \t");
}

// The pieces of `text` between the characters of `separators`, in order, as views into `text`. At
// least one piece; pieces may be empty.
std::vector<std::string_view> split(std::string_view text, std::string_view separators);

inline std::string inQuotes(std::string_view text) {
  return '"' + std::string(text) + '"';
}

}  // namespace sourcetype
