#include "classifier/tables/cell_kind.h"

#include <algorithm>
#include <array>
#include <span>

#include "util/text.h"

namespace sourcetype {
namespace {

// A longer cell is text: no value of another kind is that long, except addresses.
constexpr std::size_t kMaxValueLength = 48;

template <std::size_t Count>
bool isOneOfWords(std::string_view text, const std::array<std::string_view, Count>& words) {
  return std::ranges::any_of(words, [&](auto word) { return equalsIgnoringCase(text, word); });
}

bool isMissing(std::string_view text) {
  static constexpr std::array<std::string_view, 16> kMarks{
      "",    ":",    "-",   "--",   "?",    ".",   "..",  "na",
      "n/a", "#n/a", "nan", "null", "none", "nil", "\\n", "(null)"};
  return isOneOfWords(text, kMarks);
}

bool isFlag(std::string_view text) {
  static constexpr std::array<std::string_view, 4> kFlags{"true", "false", "yes", "no"};
  return isOneOfWords(text, kFlags);
}

void removePrefixes(std::string_view& text, std::span<const std::string_view> prefixes) {
  for (const auto prefix : prefixes) {
    if (text.starts_with(prefix)) text.remove_prefix(prefix.size());
  }
}

void removeSuffixes(std::string_view& text, std::span<const std::string_view> suffixes) {
  for (const auto suffix : suffixes) {
    if (text.ends_with(suffix)) text.remove_suffix(suffix.size());
  }
}

// The signs and units that may be around a number, in the order in which they are removed.
std::string_view withoutUnits(std::string_view text) {
  static constexpr std::array<std::string_view, 8> kBefore{"(", "-",      "+",      "\u2212",
                                                           "$", "\u20AC", "\u00A3", "-"};
  static constexpr std::array<std::string_view, 5> kAfter{")", "%", "\u20AC", "$", "\u00A3"};
  removePrefixes(text, kBefore);
  removeSuffixes(text, kAfter);
  return trimBlanks(text);
}

// Removes "e+10" and the like.
std::string_view withoutExponent(std::string_view text) {
  const std::size_t e = text.find_first_of("eE");
  if (e == std::string_view::npos || e == 0) return text;
  std::string_view digits = text.substr(e + 1);
  if (digits.starts_with('-') || digits.starts_with('+')) digits.remove_prefix(1);
  return !digits.empty() && std::ranges::all_of(digits, isAsciiDigit) ? text.substr(0, e) : text;
}

// Digits, with single separators of decimals and thousands before digits.
bool isNumber(std::string_view text) {
  text = withoutExponent(withoutUnits(text));
  bool hasDigit = false;
  bool hasSeparator = false;  // as the last character
  for (const char c : text) {
    if (isAsciiDigit(c)) {
      hasDigit = true;
      hasSeparator = false;
    } else {
      if (hasSeparator || !isOneOf(c, ".,' ") || (!hasDigit && c != '.' && c != ',')) return false;
      hasSeparator = true;
    }
  }
  return hasDigit && (!hasSeparator || text.ends_with('.'));
}

// What date and time texts consist of.
struct DateParts {
  std::size_t numbers = 0;
  std::size_t longNumbers = 0;  // of four digits
  std::size_t months = 0;
  std::size_t dashes = 0;  // "-", "/" or "." between two numbers, or a number and a month
  std::size_t colons = 0;
  bool isQuarter = false;
  bool other = false;  // something that no date has
};

bool isMonthName(std::string_view word) {
  static constexpr std::array<std::string_view, 12> kMonths{
      "january", "february", "march",     "april",   "may",      "june",
      "july",    "august",   "september", "october", "november", "december"};
  return word.size() >= 3 && std::ranges::any_of(kMonths, [&](auto month) {
           return word.size() <= month.size() &&
                  equalsIgnoringCase(word, month.substr(0, word.size()));
         });
}

bool isDateWord(std::string_view word) {
  static constexpr std::array<std::string_view, 26> kWords{
      "t",   "z",   "am",  "pm",  "utc", "gmt", "est", "edt", "cst", "cdt",  "mst", "mdt", "pst",
      "pdt", "cet", "mon", "tue", "wed", "thu", "fri", "sat", "sun", "cest", "st",  "nd",  "th"};
  return isOneOfWords(word, kWords);
}

DateParts datePartsOf(std::string_view text) {
  DateParts parts;
  std::size_t i = 0;
  while (i < text.size() && !parts.other) {
    const std::size_t begin = i;
    if (isAsciiDigit(text[i])) {
      while (i < text.size() && isAsciiDigit(text[i])) ++i;
      ++parts.numbers;
      if (i - begin == 4) ++parts.longNumbers;
    } else if (isAsciiLetter(text[i])) {
      while (i < text.size() && isAsciiLetter(text[i])) ++i;
      const auto word = text.substr(begin, i - begin);
      if (isMonthName(word)) {
        ++parts.months;
      } else if (equalsIgnoringCase(word, "q")) {
        parts.isQuarter = true;
      } else {
        parts.other = !isDateWord(word);
      }
    } else {
      const char c = text[i++];
      if (c == ':') ++parts.colons;
      if (isOneOf(c, "-/.")) ++parts.dashes;
      parts.other = !isOneOf(c, "-/.:, +()[]");
    }
  }
  return parts;
}

CellKind dateOrTime(std::string_view text) {
  const DateParts parts = datePartsOf(text);
  if (parts.other || parts.numbers == 0) return CellKind::Text;
  const bool isYearPart = parts.longNumbers > 0 && parts.numbers >= 2;  // 2010-01, 2010/11
  if (parts.months == 1 && parts.numbers <= 8) return CellKind::Date;   // Jan-10, 1 Jan 2010 10:00
  if (parts.isQuarter && isYearPart) return CellKind::Date;
  if (parts.dashes >= 2 && parts.numbers >= 3) return CellKind::Date;
  if (parts.colons > 0 && parts.numbers >= 2) return CellKind::Time;
  if (parts.dashes == 1 && parts.numbers == 2 && isYearPart) return CellKind::Date;
  return CellKind::Text;
}

bool isIpV4(std::string_view text) {
  const auto pieces = split(text.substr(0, text.find_first_of(":/")), ".");
  return pieces.size() == 4 && std::ranges::all_of(pieces, [](auto piece) {
           return !piece.empty() && piece.size() <= 3 && std::ranges::all_of(piece, isAsciiDigit);
         });
}

// UUIDs, digests, MAC and IPv6 addresses: hexadecimal digits, some of them decimal.
bool isHexId(std::string_view text) {
  constexpr std::size_t kMinDigits = 12;
  std::size_t digits = 0;
  bool hasDecimal = false;
  for (const char c : text) {
    if (c == '-' || c == ':') continue;
    const char lower = toAsciiLower(c);
    if (!isAsciiDigit(c) && (lower < 'a' || lower > 'f')) return false;
    hasDecimal = hasDecimal || isAsciiDigit(c);
    ++digits;
  }
  return digits >= kMinDigits && hasDecimal;
}

bool isMailAddress(std::string_view text) {
  const std::size_t at = text.find('@');
  return at != std::string_view::npos && at > 0 && text.find('.', at) != std::string_view::npos &&
         text.find_first_of(" \t,;|") == std::string_view::npos;
}

bool isPath(std::string_view text) {
  if (text.find("://") != std::string_view::npos) return true;
  if (text.starts_with('/')) return text.size() > 1 && text.find(' ') == std::string_view::npos;
  return text.size() > 2 && isAsciiLetter(text[0]) && text[1] == ':' && text[2] == '\\';
}

}  // namespace

CellKind cellKind(std::string_view cell) {
  const std::string_view text = trimBlanks(cell);
  if (isMissing(text)) return CellKind::Empty;
  if (isPath(text.substr(0, kMaxValueLength))) return CellKind::Address;
  if (text.size() > 2 * kMaxValueLength) return CellKind::Text;
  if (isMailAddress(text) || isHexId(text)) return CellKind::Address;
  if (text.size() > kMaxValueLength) return CellKind::Text;
  if (isFlag(text)) return CellKind::Flag;
  if (isIpV4(text)) return CellKind::Address;
  if (isNumber(text)) {
    // 01.02.2010 has the characters of a number.
    return std::ranges::count(text, '.') == 2 && dateOrTime(text) == CellKind::Date
               ? CellKind::Date
               : CellKind::Number;
  }
  return dateOrTime(text);
}

}  // namespace sourcetype
