#include "util/utf8.h"

#include <bit>
#include <cstdint>
#include <cstring>

namespace sourcetype {
namespace {

constexpr std::size_t kWord = sizeof(std::uint64_t);
constexpr std::uint64_t kHighBits = 0x8080808080808080U;
constexpr std::uint64_t kLowBits = ~kHighBits;

std::uint64_t loadWord(const char* at) {
  std::uint64_t word = 0;
  std::memcpy(&word, at, kWord);
  return word;
}

// Sets the high bit of every byte that is 00 or 80-FF. For 01-7F, adding 7F sets the high bit; the
// complement clears it.
std::uint64_t markOthers(std::uint64_t word) {
  return (~((word & kLowBits) + kLowBits) | word) & kHighBits;
}

std::size_t firstMarked(std::uint64_t marks) {
  if constexpr (std::endian::native == std::endian::little) {
    return static_cast<std::size_t>(std::countr_zero(marks)) / 8;
  } else {
    return static_cast<std::size_t>(std::countl_zero(marks)) / 8;
  }
}

// The second byte shows whether a sequence of three or four bytes is overlong (lead E0 or F0), a
// surrogate (ED) or above U+10FFFF (F4).
constexpr bool isThreeByteStart(unsigned char lead, unsigned char second) {
  const unsigned first = lead == 0xE0 ? 0xA0 : 0x80;
  const unsigned last = lead == 0xED ? 0x9F : 0xBF;
  return second >= first && second <= last;
}

constexpr bool isFourByteStart(unsigned char lead, unsigned char second) {
  const unsigned first = lead == 0xF0 ? 0x90 : 0x80;
  const unsigned last = lead == 0xF4 ? 0x8F : 0xBF;
  return second >= first && second <= last;
}

// The length of the valid multi-byte character that `text` starts with, in bytes; 0 if none.
std::size_t multiByteLength(std::string_view text) {
  const unsigned char lead = byteAt(text, 0);
  const std::size_t length = lengthByLead(lead);
  if (text.size() < length) return 0;
  switch (length) {
    case 2:
      return isUtf8Continuation(byteAt(text, 1)) ? 2 : 0;
    case 3:
      return isThreeByteStart(lead, byteAt(text, 1)) && isUtf8Continuation(byteAt(text, 2)) ? 3 : 0;
    case 4:
      return isFourByteStart(lead, byteAt(text, 1)) && isUtf8Continuation(byteAt(text, 2)) &&
                     isUtf8Continuation(byteAt(text, 3))
                 ? 4
                 : 0;
    default:
      return 0;
  }
}

}  // namespace

void appendUtf8(char32_t c, std::string& out) {
  const auto tail = [c](unsigned shift) { return static_cast<char>(0x80 | ((c >> shift) & 0x3F)); };
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out.append({static_cast<char>(0xC0 | (c >> 6)), tail(0)});
  } else if (c < 0x10000) {
    out.append({static_cast<char>(0xE0 | (c >> 12)), tail(6), tail(0)});
  } else {
    out.append({static_cast<char>(0xF0 | (c >> 18)), tail(12), tail(6), tail(0)});
  }
}

std::size_t asciiRunLength(std::string_view text) {
  const char* const begin = text.data();
  const char* const end = begin + text.size();
  const char* at = begin;
  for (; static_cast<std::size_t>(end - at) >= 4 * kWord; at += 4 * kWord) {
    const std::uint64_t marks = markOthers(loadWord(at)) | markOthers(loadWord(at + kWord)) |
                                markOthers(loadWord(at + 2 * kWord)) |
                                markOthers(loadWord(at + 3 * kWord));
    if (marks != 0) break;
  }
  for (; static_cast<std::size_t>(end - at) >= kWord; at += kWord) {
    const std::uint64_t marks = markOthers(loadWord(at));
    if (marks != 0) return static_cast<std::size_t>(at - begin) + firstMarked(marks);
  }
  while (at < end && *at != 0 && (static_cast<unsigned char>(*at) & 0x80U) == 0) ++at;
  return static_cast<std::size_t>(at - begin);
}

std::size_t validUtf8Length(std::string_view text) {
  std::size_t at = 0;
  while (true) {
    at += asciiRunLength(text.substr(at));
    const std::size_t multiByteStart = at;
    while (at < text.size()) {
      const std::size_t length = multiByteLength(text.substr(at));
      if (length == 0) break;
      at += length;
    }
    if (at == multiByteStart || at == text.size()) return at;
  }
}

std::string withInvalidUtf8Replaced(std::string_view text) {
  std::string result;
  while (true) {
    const std::size_t valid = validUtf8Length(text);
    result += text.substr(0, valid);
    text.remove_prefix(valid);
    if (text.empty()) return result;
    result += "\xEF\xBF\xBD";
    text.remove_prefix(1);
  }
}

}  // namespace sourcetype
