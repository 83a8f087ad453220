#include "timestamp/begin_pattern.h"

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::size_t kBytes = 256;

bool isMeant(char meaning, std::size_t byte) {
  const char c = static_cast<char>(byte);
  switch (meaning) {
    case 's':
      return isBlank(c);
    case 'a':
      return isAsciiLetter(c);
    case 'u':
      return byte >= 0x80;
    case '*':
      return !isAsciiDigit(c);
    default:
      return c == meaning;
  }
}

}  // namespace

std::optional<std::vector<PlaceLook>> looksOf(std::string_view word) {
  using Beginning = CalendarNames::Beginning;
  const auto both = PlaceLook::ofWord(Beginning{.month = true, .weekday = true});
  if (word == "month") return {{PlaceLook::ofWord({.month = true, .weekday = false}), both}};
  if (word == "weekday") return {{PlaceLook::ofWord({.month = false, .weekday = true}), both}};

  const auto digits = word.find_first_not_of('9');
  if (digits == 0 || digits > PlaceLook::kMostDigits || word.size() != digits + 1) {
    return std::nullopt;
  }
  std::vector<PlaceLook> looks;
  for (std::size_t byte = 0; byte < kBytes; ++byte) {
    if (!isMeant(word.back(), byte)) continue;
    looks.push_back(PlaceLook::ofNumber(digits, static_cast<unsigned char>(byte)));
  }
  return looks;
}

}  // namespace sourcetype
