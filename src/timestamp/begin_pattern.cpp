#include "timestamp/begin_pattern.h"

#include <array>
#include <cstddef>
#include <optional>
#include <string>

#include "util/text.h"

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
      return {Other,     Dash,  Slash,  Dot,    Colon,  Underscore, Comma,    Bar,
              Backslash, Blank, UpperT, LowerT, Letter, NonAscii,   Semicolon};
    default:
      const auto kind = byteAfter(std::string_view(&symbol, 1), 0);
      if (kind == Other || kind == Letter || kind == Blank || kind == NonAscii) return {};
      return {kind};
  }
}

constexpr std::array kAllKinds{Other,  Dash,      Slash,    Dot,       Colon, Underscore,
                               Comma,  Semicolon, Bar,      Backslash, Blank, UpperT,
                               LowerT, Letter,    NonAscii, Digit};

// The value of one or two digits; nothing for any other text.
std::optional<std::size_t> countOf(std::string_view digits) {
  if (digits.empty() || digits.size() > 2) return std::nullopt;
  std::size_t value = 0;
  for (const char digit : digits) {
    if (!isAsciiDigit(digit)) return std::nullopt;
    value = value * 10 + static_cast<std::size_t>(digit - '0');
  }
  return value;
}

// "9{8,23}a": the word for each of these numbers of digits.
std::vector<PlaceLook> looksOfRange(std::string_view word) {
  const auto comma = word.find(',');
  const auto close = word.find('}');
  if (!word.starts_with("9{") || comma > close || close == std::string_view::npos) return {};
  const auto from = countOf(word.substr(2, comma - 2));
  const auto to = countOf(word.substr(comma + 1, close - comma - 1));
  if (!from || !to || *from == 0 || *to > PlaceLook::kMaxDigits) return {};
  std::vector<PlaceLook> looks;
  for (std::size_t digits = *from; digits <= *to; ++digits) {
    const auto more = looksOf(std::string(digits, '9').append(word.substr(close + 1)));
    looks.insert(looks.end(), more.begin(), more.end());
  }
  return looks;
}

}  // namespace

std::vector<PlaceLook> looksOf(std::string_view word) {
  if (word == "month") return {PlaceLook::ofMonth()};

  if (word.find('{') != std::string_view::npos) return looksOfRange(word);

  const auto digits = word.find_first_not_of('9');
  if (digits == 0 || digits > PlaceLook::kMaxDigits) return {};
  const auto rest = word.substr(digits);
  if (rest.size() > 3 || (rest.size() == 3 && rest[1] != '9')) return {};
  const auto kindsAt = [&](std::size_t at) {
    return at < rest.size() ? kindsOf(rest[at]) : std::vector(kAllKinds.begin(), kAllKinds.end());
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
