#include "timestamp/begin_pattern.h"

#include <array>

namespace sourcetype {
namespace {

using enum ByteAfter;

// The kinds of byte that a character of the word stands for; empty for a faulty one.
std::vector<ByteAfter> kindsOf(char symbol) {
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
      const auto kind = byteAfter(std::string_view(&symbol, 1), 0);
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
  if (digits == 0 || digits > PlaceLook::kMaxDigits) return {};
  const auto rest = word.substr(digits);
  if (rest.size() > 3 || (rest.size() == 3 && rest[1] != '9')) return {};
  const auto kindsAt = [&](std::size_t at) {
    return at < rest.size() ? kindsOf(rest[at]) : std::vector(kAny.begin(), kAny.end());
  };
  const auto beyondNumber = kindsAt(2);
  std::vector<PlaceLook> looks;
  for (const auto next : kindsAt(0)) {
    for (const auto further : kindsAt(1)) {
      for (const auto beyond : further == Digit ? beyondNumber : std::vector{Other}) {
        looks.push_back(PlaceLook::ofNumber(digits, {next, further, beyond}));
      }
    }
  }
  return looks;
}

}  // namespace sourcetype
