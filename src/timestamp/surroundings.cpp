#include "timestamp/surroundings.h"

#include <algorithm>

#include "util/text.h"

namespace sourcetype {
namespace {

// Bytes before a piece that are examined. A path, a key or a word is rarely longer.
constexpr std::size_t kMaxLookBack = 256;

bool isWordByte(char c) {
  return isAsciiLetter(c) || isAsciiDigit(c) || c == '_';
}

// True if there is a slash after the last blank, quote, bracket or column separator.
bool isInsidePath(std::string_view before) {
  for (; !before.empty(); before.remove_suffix(1)) {
    const char c = before.back();
    if (isAsciiSpace(c) || isOneOf(c, "\"'`()[]{}<>,;|")) return false;
    if (c == '/' || c == '\\') return true;
  }
  return false;
}

// A colon after a word of letters is that of a key. Others may be part of an address or of a time.
bool isColonOfKey(std::string_view before) {
  if (before.empty() || !isWordByte(before.back())) return before.empty() || before.back() != ':';
  std::size_t letters = 0;
  bool isHex = true;
  while (!before.empty() && isWordByte(before.back())) {
    const char c = before.back();
    if (isAsciiDigit(c)) return false;
    isHex = isHex && toAsciiLower(c) <= 'f' && c != '_';
    ++letters;
    before.remove_suffix(1);
  }
  constexpr std::size_t kMaxHexInAddress = 4;
  return !isHex || letters > kMaxHexInAddress;
}

std::string_view textBefore(std::string_view line, std::size_t begin, std::size_t offset) {
  const std::size_t start = offset - std::min(offset - begin, kMaxLookBack);
  return line.substr(start, offset - start);
}

// Removes blanks at the end; true if there was one.
bool dropBlanks(std::string_view& text) {
  const auto size = text.size();
  while (!text.empty() && isBlank(text.back())) text.remove_suffix(1);
  return text.size() != size;
}

bool dropOne(std::string_view& text, std::string_view set) {
  if (text.empty() || !isOneOf(text.back(), set)) return false;
  text.remove_suffix(1);
  return true;
}

std::string_view lastWord(std::string_view text, bool (*isPart)(char)) {
  std::size_t start = text.size();
  while (start > 0 && isPart(text[start - 1])) --start;
  return text.substr(start);
}

bool isKeyByte(char c) {
  return isWordByte(c) || isOneOf(c, "-.@$");
}

}  // namespace

bool beginsFreely(std::string_view line, std::size_t begin, std::size_t offset) {
  auto before = textBefore(line, begin, offset);
  if (before.empty() || isAsciiSpace(before.back())) return true;
  const char c = before.back();
  if (isWordByte(c) || isOneOf(c, "/\\%$")) return false;
  const auto further = before.substr(0, before.size() - 1);
  if (isOneOf(c, ".-@+~#") && !further.empty() && isWordByte(further.back())) return false;
  if (c == ':' && !isColonOfKey(further)) return false;
  return !isInsidePath(before);
}

bool endsFreely(std::string_view line, std::size_t end) {
  if (end >= line.size()) return true;
  const char c = line[end];
  if (isWordByte(c) || isOneOf(c, "/\\%@")) return false;
  if (!isOneOf(c, ".:-+") || end + 1 == line.size()) return true;
  const char further = line[end + 1];
  return c == ':' ? !isAsciiDigit(further) : !isWordByte(further);
}

bool isContinuedByWord(std::string_view line, std::size_t end) {
  return end < line.size() && isWordByte(line[end]);
}

bool isFirst(std::string_view line, std::size_t begin, std::size_t offset) {
  return std::ranges::none_of(line.substr(begin, offset - begin), isWordByte);
}

std::string_view keyBefore(std::string_view line, std::size_t begin, std::size_t offset) {
  auto before = textBefore(line, begin, offset);
  dropOne(before, "\"'");
  dropBlanks(before);
  if (!dropOne(before, "=:")) return {};
  dropBlanks(before);
  dropOne(before, "\"'");
  return lastWord(before, isKeyByte);
}

std::string wordBefore(std::string_view line, std::size_t begin, std::size_t offset) {
  auto before = textBefore(line, begin, offset);
  dropOne(before, "\"'([#+");
  dropBlanks(before);
  if (dropOne(before, "=:.")) dropBlanks(before);
  dropOne(before, "\"'");
  return toAsciiLower(lastWord(before, isAsciiLetter));
}

std::string wordAfter(std::string_view line, std::size_t end) {
  auto after = line.substr(std::min(end, line.size()));
  while (!after.empty() && isBlank(after.front())) after.remove_prefix(1);
  std::size_t letters = 0;
  while (letters < after.size() && letters < kMaxLookBack && isAsciiLetter(after[letters])) {
    ++letters;
  }
  return toAsciiLower(after.substr(0, letters));
}

}  // namespace sourcetype
