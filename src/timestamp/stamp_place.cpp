#include "timestamp/stamp_place.h"

#include <array>

#include "util/text.h"

namespace sourcetype {
namespace {

enum class ByteKind : std::uint8_t { Other, Digit, Letter };

// Bytes outside ASCII are letters of names.
constexpr auto kByteKinds = [] {
  std::array<ByteKind, 256> kinds{};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    const char c = static_cast<char>(i);
    if (isAsciiDigit(c)) kinds[i] = ByteKind::Digit;
    if (isAsciiLetter(c) || i >= 0x80) kinds[i] = ByteKind::Letter;
  }
  return kinds;
}();

ByteKind kindOf(char c) {
  return kByteKinds[static_cast<unsigned char>(c)];
}

}  // namespace

std::optional<StampPlace> StampPlaces::next() {
  const std::size_t size = text_.size();
  while (offset_ < size) {
    const std::size_t start = offset_++;
    const ByteKind kind = kindOf(text_[start]);
    if (kind == ByteKind::Other) continue;
    while (offset_ < size && kindOf(text_[offset_]) == kind) ++offset_;
    const std::size_t length = offset_ - start;
    if (kind == ByteKind::Digit) {
      if (length > PlaceLook::kMostDigits) continue;
      const char after = offset_ < size ? text_[offset_] : '\0';
      return StampPlace{start, PlaceLook::ofNumber(length, static_cast<unsigned char>(after))};
    }
    if (length < CalendarNames::kLeastLength) continue;
    const auto beginning = names_.beginningOf(text_.data() + start);
    if (beginning.month || beginning.weekday) return StampPlace{start, PlaceLook::ofWord(beginning)};
  }
  return std::nullopt;
}

}  // namespace sourcetype
