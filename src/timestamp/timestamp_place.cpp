#include "timestamp/timestamp_place.h"

#include <array>

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr ByteAfter kindOfByte(unsigned char byte) {
  const char c = static_cast<char>(byte);
  constexpr std::string_view kPunctuation = "-/.:_,;|\\";
  if (const auto at = kPunctuation.find(c); at != std::string_view::npos) {
    return static_cast<ByteAfter>(static_cast<std::size_t>(ByteAfter::Dash) + at);
  }
  if (isBlank(c)) return ByteAfter::Blank;
  if (c == 'T') return ByteAfter::UpperT;
  if (c == 't') return ByteAfter::LowerT;
  if (isAsciiLetter(c)) return ByteAfter::Letter;
  if (isAsciiDigit(c)) return ByteAfter::Digit;
  return byte >= 0x80 ? ByteAfter::NonAscii : ByteAfter::Other;
}

constexpr auto kByteKinds = []() {
  std::array<ByteAfter, 256> kinds{};
  for (std::size_t i = 0; i < kinds.size(); ++i) {
    kinds[i] = kindOfByte(static_cast<unsigned char>(i));
  }
  return kinds;
}();

ByteAfter kindOf(char c) {
  return kByteKinds[static_cast<unsigned char>(c)];
}

// Bytes outside ASCII count as letters of names.
bool isNameByte(char c) {
  const auto kind = kindOf(c);
  return kind >= ByteAfter::UpperT && kind <= ByteAfter::NonAscii;
}

// The length in bytes of a quotation mark, a dash or another mark outside ASCII; 0 for any other
// character. UTF-8 encodes U+0080 to U+00BF with C2 first, and U+2000 to U+2FFF with E2 first.
std::size_t bytesOfMark(char first) {
  if (first == '\xC2') return 2;
  return first == '\xE2' ? 3 : 0;
}

BytesAfter bytesAfter(std::string_view text, std::size_t offset) {
  BytesAfter after{.next = byteAfter(text, offset), .further = byteAfter(text, offset + 1)};
  if (after.further == ByteAfter::Digit) {
    after.beyond = byteAfter(text, offset + 2);
    if (after.beyond == ByteAfter::Digit) after.beyond = byteAfter(text, offset + 3);
  }
  return after;
}

// A number with this many digits may be a year, which begins a timestamp after any byte.
constexpr std::size_t kDigitsOfYear = 4;

// The offset after the ".", "," and up to two blanks that may follow a weekday. Without a blank it
// is the end of the text, so that no date is found there.
std::size_t endOfWeekdayMarks(std::string_view text, std::size_t offset) {
  for (const char mark : {'.', ','}) {
    if (offset < text.size() && text[offset] == mark) ++offset;
  }
  const std::size_t blanks = offset;
  while (offset < text.size() && offset < blanks + 2 && isBlank(text[offset])) ++offset;
  return offset == blanks ? text.size() : offset;
}

}  // namespace

ByteAfter byteAfter(std::string_view text, std::size_t offset) {
  return offset < text.size() ? kindOf(text[offset]) : ByteAfter::Other;
}

bool TimestampPlaces::continuesNumber(std::size_t start) const {
  if (start < 2 || kindOf(text_[start - 2]) != ByteAfter::Digit) return false;
  const auto before = kindOf(text_[start - 1]);
  return before >= ByteAfter::Dash && before <= ByteAfter::Colon;
}

std::optional<TimestampPlace> TimestampPlaces::next() {
  const std::size_t size = text_.size();
  while (offset_ < size) {
    const std::size_t start = offset_++;
    if (kindOf(text_[start]) == ByteAfter::Digit) {
      while (offset_ < size && kindOf(text_[offset_]) == ByteAfter::Digit) ++offset_;
      const std::size_t digits = offset_ - start;
      if (digits > PlaceLook::kMaxDigits) continue;
      const auto look = PlaceLook::ofNumber(digits, bytesAfter(text_, offset_));
      if (!wanted_.test(look.index())) continue;
      return TimestampPlace{.start = startOf(start),
                            .offset = start,
                            .look = look,
                            .continuesNumber = digits < kDigitsOfYear && continuesNumber(start)};
    }
    if (!isNameByte(text_[start])) continue;
    if (const auto bytes = bytesOfMark(text_[start]); bytes > 0) {
      offset_ = start + bytes;
      continue;
    }
    while (offset_ < size && isNameByte(text_[offset_])) ++offset_;
    const std::string_view word(text_.data() + start, offset_ - start);
    if (!names_.mayBeName(word)) continue;
    const auto meaning = names_.meaningOf(word);
    const std::size_t timestampStart = startOf(start);
    if (meaning.weekday) {
      weekday_ = start;
      afterWeekday_ = endOfWeekdayMarks(text_, offset_);
    }
    if (meaning.month != 0) {
      return TimestampPlace{.start = timestampStart, .offset = start, .look = PlaceLook::ofMonth()};
    }
  }
  return std::nullopt;
}

}  // namespace sourcetype
