#include "charset/multibyte_converter.h"

#include <algorithm>
#include <array>
#include <utility>

#include "charset/unit_form.h"
#include "util/utf8.h"

namespace sourcetype {

struct MultiByteLayout {
  std::string_view charset;
  std::array<UnitForm, 3> forms;  // of units of two bytes or more
};

namespace {

constexpr ByteRange kSs2{0x8E, 0x8E}, kSs3{0x8F, 0x8F};  // single shifts to the third, fourth set
constexpr ByteRange kGbLead{0x81, 0xFE}, kDigit{0x30, 0x39};

constexpr std::array kLayouts{
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

// The size of the longest unit, or beginning of a unit, that `bytes` begins with. More than
// bytes.size() when the bytes after them may continue the unit.
std::size_t unitLength(const MultiByteLayout& layout, std::string_view bytes) {
  std::size_t longest = 1;
  for (const UnitForm& form : layout.forms) {
    const std::size_t fitting = fittingLength(form, bytes);
    longest = std::max(longest, fitting == bytes.size() ? lengthOf(form) : fitting);
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

MultiByteConverter::MultiByteConverter(IconvStream stream, const MultiByteLayout& layout)
    : stream_(std::move(stream)), layout_(layout), chosen_(chosenCells(layout.charset)) {
  for (const ChosenCells& cells : chosen_) {
    const auto [first, last] = cells.units[0];
    for (std::size_t lead = first; lead <= last; ++lead) startsChosen_.set(lead);
  }
}

// No unit contains NUL, so a unit ends before it.
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
  std::size_t at = 0;
  for (auto found = findChosen(bytes); found; found = findChosen(bytes.substr(at))) {
    decodeByIconv(bytes.substr(at, found->at), Input::Ends, out);
    const std::string_view unit = bytes.substr(at + found->at, found->length);
    if (found->character == 0) {
      appendInvalid(unit, out);
    } else {
      appendCharacter(found->character, out);
    }
    at += found->at + found->length;
  }
  return at + decodeByIconv(bytes.substr(at), input, out);
}

// The first unit that is in chosen_cells.h; iconv must not convert it.
std::optional<MultiByteConverter::ChosenUnit> MultiByteConverter::findChosen(
    std::string_view bytes) const {
  if (chosen_.empty()) return std::nullopt;
  for (std::size_t at = asciiRunLength(bytes); at < bytes.size();) {
    const std::size_t length = unitLength(layout_, bytes.substr(at));
    if (length > bytes.size() - at) break;
    const std::string_view unit = bytes.substr(at, length);
    if (startsChosen_[byteAt(unit, 0)]) {
      for (const ChosenCells& cells : chosen_) {
        if (lengthOf(cells.units) == length && fittingLength(cells.units, unit) == length)
          return ChosenUnit{at, length, chosenCharacter(cells, unit)};
      }
    }
    at += length;
    at += asciiRunLength(bytes.substr(at));
  }
  return std::nullopt;
}

std::size_t MultiByteConverter::decodeByIconv(std::string_view bytes, Input input,
                                              std::string& out) {
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
                          (stop == IconvStream::Stop::Unfinished && rest.size() < kMaxUnitBytes);
    if (isCutOff && input == Input::MayGoOn) return bytes.size() - rest.size();
    stream_.flush(out);
    appendInvalid(rest.substr(0, length), out);
    rest.remove_prefix(std::min(length, rest.size()));
  }
  if (input == Input::Ends) stream_.flush(out);
  return bytes.size();
}

// True when iconv has consumed the pair before it reports the pair as invalid. glibc does this with
// A2 E8 of CP949.
bool MultiByteConverter::stepsOver(std::string_view pair, std::string& out) {
  stream_.flush(out);
  std::string ignored;
  const IconvStream::Stop stop = stream_.convert(pair, ignored);
  stream_.flush(ignored);
  return stop == IconvStream::Stop::Invalid && pair.empty();
}

}  // namespace sourcetype
