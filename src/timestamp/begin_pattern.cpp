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
  if (digits == 0 || digits > PlaceLook::kMostDigits) return {};
  const auto behind = word.substr(digits);
  if (behind.size() > 3 || (behind.size() == 3 && behind[1] != '9')) return {};
  const auto meantAt = [&](std::size_t at) {
    return at < behind.size() ? meant(behind[at]) : std::vector(kAny.begin(), kAny.end());
  };
  const auto beyondNumber = meantAt(2);
  std::vector<PlaceLook> looks;
  for (const auto next : meantAt(0)) {
    for (const auto further : meantAt(1)) {
      for (const auto beyond : further == Digit ? beyondNumber : std::vector{Other}) {
        looks.push_back(PlaceLook::ofNumber(digits, {next, further, beyond}));
      }
    }
  }
  return looks;
}

}  // namespace sourcetype
