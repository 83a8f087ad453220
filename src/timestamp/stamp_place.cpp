#include "timestamp/stamp_place.h"

namespace sourcetype {
namespace {

constexpr ByteBehind kindOfByte(unsigned char byte) {
  const char c = static_cast<char>(byte);
  constexpr std::string_view kPunctuation = "-/.:_,;|";
  if (const auto at = kPunctuation.find(c); at != std::string_view::npos) {
    return static_cast<ByteBehind>(static_cast<std::size_t>(ByteBehind::Dash) + at);
  }
  if (isBlank(c)) return ByteBehind::Blank;
  if (c == 'T') return ByteBehind::UpperT;
  if (c == 't') return ByteBehind::LowerT;
  if (isAsciiLetter(c)) return ByteBehind::Letter;
  if (isAsciiDigit(c)) return ByteBehind::Digit;
  return byte >= 0x80 ? ByteBehind::NonAscii : ByteBehind::Other;
}

constexpr auto kKinds = []() {
  std::array<ByteBehind, 256> kinds{};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    kinds[i] = kindOfByte(static_cast<unsigned char>(i));
  }
  return kinds;
}();

ByteBehind kindOf(char c) {
  return kKinds[static_cast<unsigned char>(c)];
}

// Bytes outside ASCII are letters of names.
bool isNameByte(char c) {
  const auto kind = kindOf(c);
  return kind >= ByteBehind::UpperT && kind <= ByteBehind::NonAscii;
}

BytesBehind bytesBehind(std::string_view text, std::size_t offset) {
  BytesBehind behind{.next = byteBehind(text, offset), .further = byteBehind(text, offset + 1)};
  if (behind.further == ByteBehind::Digit) {
    behind.beyond = byteBehind(text, offset + 2);
    if (behind.beyond == ByteBehind::Digit) behind.beyond = byteBehind(text, offset + 3);
  }
  return behind;
}

// A number of as many digits may be a year, and begins a stamp whatever stands before it.
constexpr std::size_t kDigitsOfYear = 4;

// Behind the ".", "," and up to two blanks that may follow a weekday; the end of the text when
// there is no blank, so that nothing is found there.
std::size_t endOfWeekdayMarks(std::string_view text, std::size_t offset) {
  for (const char mark : {'.', ','}) {
    if (offset < text.size() && text[offset] == mark) ++offset;
  }
  const std::size_t blanks = offset;
  while (offset < text.size() && offset < blanks + 2 && isBlank(text[offset])) ++offset;
  return offset == blanks ? text.size() : offset;
}

}  // namespace

ByteBehind byteBehind(std::string_view text, std::size_t offset) {
  return offset < text.size() ? kindOf(text[offset]) : ByteBehind::Other;
}

bool StampPlaces::continuesNumber(std::size_t start) const {
  if (start < 2 || kindOf(text_[start - 2]) != ByteBehind::Digit) return false;
  const auto before = kindOf(text_[start - 1]);
  return before >= ByteBehind::Dash && before <= ByteBehind::Colon;
}

std::optional<StampPlace> StampPlaces::next() {
  const std::size_t size = text_.size();
  while (offset_ < size) {
    const std::size_t start = offset_++;
    if (kindOf(text_[start]) == ByteBehind::Digit) {
      while (offset_ < size && kindOf(text_[offset_]) == ByteBehind::Digit) ++offset_;
      const std::size_t digits = offset_ - start;
      if (digits > PlaceLook::kMostDigits) continue;
      const auto look = PlaceLook::ofNumber(digits, bytesBehind(text_, offset_));
      if (!wanted_.test(look.index())) continue;
      return StampPlace{.start = startOf(start),
                        .offset = start,
                        .look = look,
                        .continuesNumber = digits < kDigitsOfYear && continuesNumber(start)};
    }
    if (!isNameByte(text_[start])) continue;
    while (offset_ < size && isNameByte(text_[offset_])) ++offset_;
    const std::string_view word(text_.data() + start, offset_ - start);
    if (!names_.mayBeName(word)) continue;
    const auto meaning = names_.meaningOf(word);
    const std::size_t stampStart = startOf(start);
    if (meaning.weekday) {
      weekday_ = start;
      behindWeekday_ = endOfWeekdayMarks(text_, offset_);
    }
    if (meaning.month != 0) {
      return StampPlace{.start = stampStart, .offset = start, .look = PlaceLook::ofMonth()};
    }
  }
  return std::nullopt;
}

}  // namespace sourcetype
