#include "timestamp/begin_pattern.h"

#include <array>
#include <utility>

namespace sourcetype {
namespace {

using enum ByteBehind;

// What a byte of a pattern stands for.
std::vector<ByteBehind> meant(char symbol) {
  switch (symbol) {
    case 's':
      return {Blank};
    case 'a':
      return {UpperT, LowerT, Letter};
    case 'u':
      return {NonAscii};
    case '9':
      return {Digit};
    case '*':
      return {Other, Dash,  Slash,  Dot,    Colon,  Underscore, Comma,
              Bar,   Blank, UpperT, LowerT, Letter, NonAscii,   Semicolon};
    default:
      const auto kind = byteBehind(std::string_view(&symbol, 1), 0);
      if (kind == Other || kind == Letter || kind == Blank || kind == NonAscii) return {};
      return {kind};
  }
}

constexpr std::array kAny{Other, Dash,  Slash,  Dot,    Colon,  Underscore, Comma, Semicolon,
                          Bar,   Blank, UpperT, LowerT, Letter, NonAscii,   Digit};

}  // namespace

std::vector<PlaceLook> looksOf(std::string_view word) {
  if (word == "month") return {PlaceLook::ofMonth()};

  const auto digits = word.find_first_not_of('9');
  if (digits == 0 || digits > PlaceLook::kMostDigits || word.size() > digits + 2) return {};
  const auto further =
      word.size() == digits + 2 ? meant(word.back()) : std::vector(kAny.begin(), kAny.end());
  std::vector<PlaceLook> looks;
  for (const auto nextByte : meant(word[digits])) {
    for (const auto furtherByte : further) {
      looks.push_back(PlaceLook::ofNumber(digits, nextByte, furtherByte));
    }
  }
  return looks;
}

}  // namespace sourcetype
