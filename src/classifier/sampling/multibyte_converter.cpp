#include "classifier/sampling/multibyte_converter.h"

#include <algorithm>
#include <array>
#include <cstddef>

#include "util/utf8.h"

namespace sourcetype {

struct ByteRange {
  unsigned char first, last;
};

// The ranges that the bytes of a unit lie in, one after the other; a range 00-00 ends the unit.
using UnitForm = std::array<ByteRange, 4>;

struct MultiByteLayout {
  std::string_view charset;
  std::array<UnitForm, 3> forms;  // those of one byte are not told
};

namespace {

// No layout has longer units.
constexpr std::size_t kLongestUnit = std::tuple_size_v<UnitForm>;

constexpr ByteRange kGr{0xA1, 0xFE};  // a row or cell of a 94x94 set with the high bit set
constexpr ByteRange kSs2{0x8E, 0x8E}, kSs3{0x8F, 0x8F};  // single shifts to the third, fourth set
constexpr ByteRange kGbLead{0x81, 0xFE}, kDigit{0x30, 0x39};

constexpr std::array kLayouts{
    MultiByteLayout{"BIG5", {{{{{0x81, 0xFE}, {0x40, 0xFE}}}}}},
    MultiByteLayout{"BIG5-HKSCS", {{{{{0x81, 0xFE}, {0x40, 0xFE}}}}}},
    MultiByteLayout{"CP932", {{{{{0x81, 0x9F}, {0x40, 0xFC}}}, {{{0xE0, 0xFC}, {0x40, 0xFC}}}}}},
    MultiByteLayout{"CP936", {{{{kGbLead, {0x40, 0xFE}}}}}},
    MultiByteLayout{"CP949", {{{{{0x81, 0xFE}, {0x41, 0xFE}}}}}},
    MultiByteLayout{"CP950", {{{{{0x81, 0xFE}, {0x40, 0xFE}}}}}},
    MultiByteLayout{"EUC-CN", {{{{kGr, kGr}}}}},
    MultiByteLayout{"EUC-JP", {{{{kGr, kGr}}, {{kSs2, kGr}}, {{kSs3, kGr, kGr}}}}},
    MultiByteLayout{"EUC-KR", {{{{kGr, kGr}}}}},
    MultiByteLayout{"EUC-TW", {{{{kGr, kGr}}, {{kSs2, kGr, kGr, kGr}}}}},
    MultiByteLayout{"GB18030", {{{{kGbLead, {0x40, 0xFE}}}, {{kGbLead, kDigit, kGbLead, kDigit}}}}},
    MultiByteLayout{"GBK", {{{{kGbLead, {0x40, 0xFE}}}}}},
    MultiByteLayout{"JOHAB", {{{{{0x84, 0xF9}, {0x31, 0xFE}}}}}},
    MultiByteLayout{"SHIFT_JIS",
                    {{{{{0x81, 0x9F}, {0x40, 0xFC}}}, {{{0xE0, 0xFC}, {0x40, 0xFC}}}}}},
};

std::size_t lengthOf(const UnitForm& form) {
  const auto* const end = std::ranges::find(form, 0, &ByteRange::first);
  return static_cast<std::size_t>(end - form.begin());
}

// Bytes of the longest unit, or start of one, at the start of `bytes`; more than there are where
// the unit may go on behind them.
std::size_t unitLength(const MultiByteLayout& layout, std::string_view bytes) {
  std::size_t longest = 1;
  for (const UnitForm& form : layout.forms) {
    const std::size_t whole = lengthOf(form);
    std::size_t fitting = 0;
    while (fitting < std::min(whole, bytes.size()) &&
           byteAt(bytes, fitting) >= form[fitting].first &&
           byteAt(bytes, fitting) <= form[fitting].last) {
      ++fitting;
    }
    longest = std::max(longest, fitting == bytes.size() ? whole : fitting);
  }
  return longest;
}

}  // namespace

std::unique_ptr<MultiByteConverter> MultiByteConverter::create(std::string_view charset) {
  const auto* const layout = std::ranges::find(kLayouts, charset, &MultiByteLayout::charset);
  auto stream = IconvStream::open(std::string(charset));
  if (layout == kLayouts.end() || !stream) return nullptr;
  return std::unique_ptr<MultiByteConverter>(new MultiByteConverter(*std::move(stream), *layout));
}

// NUL is part of no unit, so what stands before one does not go on.
std::size_t MultiByteConverter::decode(std::string_view bytes, Input input, std::string& out) {
  std::size_t at = 0;
  for (std::size_t nul = bytes.find('\0'); nul != std::string_view::npos;
       nul = bytes.find('\0', at)) {
    decodeRun(bytes.substr(at, nul - at), Input::Ends, out);
    appendInvalid(bytes.substr(nul, 1), out);
    at = nul + 1;
  }
  return at + decodeRun(bytes.substr(at), input, out);
}

std::size_t MultiByteConverter::decodeRun(std::string_view bytes, Input input, std::string& out) {
  std::string_view rest = bytes;
  while (!rest.empty()) {
    const std::size_t start = bytes.size() - rest.size();
    const IconvStream::Stop stop = stream_.convert(rest, out);
    if (stop == IconvStream::Stop::End) break;
    const std::size_t at = bytes.size() - rest.size();
    if (stop == IconvStream::Stop::Invalid && at >= start + 2 &&
        stepsOver(bytes.substr(at - 2, 2), out))
      rest = bytes.substr(at - 2);
    const std::size_t length = unitLength(layout_, rest);
    const bool isCutOff = length > rest.size() ||
                          (stop == IconvStream::Stop::Unfinished && rest.size() < kLongestUnit);
    if (isCutOff && input == Input::MayGoOn) return bytes.size() - rest.size();
    stream_.flush(out);
    appendInvalid(rest.substr(0, length), out);
    rest.remove_prefix(std::min(length, rest.size()));
  }
  if (input == Input::Ends) stream_.flush(out);
  return bytes.size();
}

// Whether iconv reports a pair only when it has stepped over it, as glibc does with A2 E8 of CP949,
// which it lacks.
bool MultiByteConverter::stepsOver(std::string_view pair, std::string& out) {
  stream_.flush(out);
  std::string ignored;
  const IconvStream::Stop stop = stream_.convert(pair, ignored);
  stream_.flush(ignored);
  return stop == IconvStream::Stop::Invalid && pair.empty();
}

}  // namespace sourcetype
