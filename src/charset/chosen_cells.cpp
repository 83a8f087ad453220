#include "charset/chosen_cells.h"

#include <algorithm>
#include <array>

#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr ByteRange at(unsigned char byte) {
  return {byte, byte};
}

constexpr char32_t kNone = 0;
constexpr ByteRange kBelowDelete{0x40, 0x7E}, kAboveDelete{0x80, 0xFC};
// The controls 80-9F without the single shifts 8E and 8F.
constexpr ByteRange kControlsBelowShifts{0x80, 0x8D}, kControlsAboveShifts{0x90, 0x9F};
constexpr std::size_t kBig5Row = 157, kGbkUserRow = 96;
constexpr char32_t kAboveGap = 63;  // cells of a row before its gap, which begins at 7F

// docs/decisions.md has the reasons. In the code pages of Microsoft, the cells for users have
// characters of the private use area, as Microsoft published them. In the other standards these
// cells are free.
constexpr std::array kChosen{
    ChosenCells{"BIG5-HKSCS", {at(0x80)}, kNone},
    ChosenCells{"CP1255", {at(0xCA)}, 0x05BA},
    ChosenCells{"CP932", {at(0x81), at(0x60)}, 0xFF5E},
    ChosenCells{"CP932", {at(0x81), at(0x61)}, 0x2225},
    ChosenCells{"CP932", {at(0x81), at(0x7C)}, 0xFF0D},
    ChosenCells{"CP932", {at(0x81), {0x91, 0x92}}, 0xFFE0},
    ChosenCells{"CP932", {at(0x81), at(0xCA)}, 0xFFE2},
    ChosenCells{"CP936", {{{0xA1, 0xA7}, {0x40, 0x7E}}}, 0xE4C6, kGbkUserRow},
    ChosenCells{"CP936", {{{0xA1, 0xA7}, {0x80, 0xA0}}}, 0xE4C6 + kAboveGap, kGbkUserRow},
    ChosenCells{"CP936", {{{0xAA, 0xAF}, kGr}}, 0xE000, 94},
    ChosenCells{"CP936", {{{0xF8, 0xFE}, kGr}}, 0xE234, 94},
    ChosenCells{"CP949", {at(0xC9), kGr}, 0xE000},
    ChosenCells{"CP949", {at(0xFE), kGr}, 0xE05E},
    ChosenCells{"CP950", {at(0x80)}, kNone},
    ChosenCells{"CP950", {{{0x81, 0x8D}, kBelowDelete}}, 0xEEB8, kBig5Row},
    ChosenCells{"CP950", {{{0x81, 0x8D}, kGr}}, 0xEEB8 + kAboveGap, kBig5Row},
    ChosenCells{"CP950", {{{0x8E, 0xA0}, kBelowDelete}}, 0xE311, kBig5Row},
    ChosenCells{"CP950", {{{0x8E, 0xA0}, kGr}}, 0xE311 + kAboveGap, kBig5Row},
    ChosenCells{"CP950", {at(0xC6), kGr}, 0xF6B1},
    ChosenCells{"CP950", {{{0xC7, 0xC8}, kBelowDelete}}, 0xF70F, kBig5Row},
    ChosenCells{"CP950", {{{0xC7, 0xC8}, kGr}}, 0xF70F + kAboveGap, kBig5Row},
    ChosenCells{"CP950", {{{0xFA, 0xFE}, kBelowDelete}}, 0xE000, kBig5Row},
    ChosenCells{"CP950", {{{0xFA, 0xFE}, kGr}}, 0xE000 + kAboveGap, kBig5Row},
    ChosenCells{"EUC-JP", {kControlsBelowShifts}, kNone},
    ChosenCells{"EUC-JP", {kControlsAboveShifts}, kNone},
    ChosenCells{"EUC-JP", {{{0xF5, 0xFE}, kGr}}, kNone},
    ChosenCells{"EUC-JP", {{at(0x8F), {0xF5, 0xFE}, kGr}}, kNone},
    ChosenCells{"EUC-KR", {{{0x80, 0x9F}}}, kNone},
    ChosenCells{"EUC-TW", {at(0xC2), at(0xC2)}, 0x20AC},
    ChosenCells{"EUC-TW", {at(0x8E), at(0xA1), at(0xC2), at(0xC2)}, 0x20AC},
    ChosenCells{"GB18030", {at(0x82), at(0x35), at(0x90), {0x37, 0x39}}, 0x9FB4},
    ChosenCells{"GB18030", {at(0x82), at(0x35), at(0x91), {0x30, 0x34}}, 0x9FB7},
    ChosenCells{"GB18030", {at(0x84), at(0x31), at(0x82), {0x36, 0x39}}, 0xFE10},
    ChosenCells{"GB18030", {at(0x84), at(0x31), at(0x83), {0x30, 0x35}}, 0xFE14},
    ChosenCells{"GBK", {at(0x80)}, 0x20AC},
    ChosenCells{"SHIFT_JIS", {{{0xF0, 0xF9}, kBelowDelete}}, kNone},
    ChosenCells{"SHIFT_JIS", {{{0xF0, 0xF9}, kAboveDelete}}, kNone},
};

// std::string_view compares bytes as unsigned values.
static_assert(std::ranges::is_sorted(kChosen, {}, &ChosenCells::charset), "searched by halves");

}  // namespace

std::span<const ChosenCells> chosenCells(std::string_view charset) {
  const auto* const first = std::ranges::lower_bound(kChosen, charset, {}, &ChosenCells::charset);
  const auto* const last = std::ranges::upper_bound(kChosen, charset, {}, &ChosenCells::charset);
  return {first, last};
}

char32_t chosenCharacter(const ChosenCells& cells, std::string_view unit) {
  if (cells.first == kNone) return kNone;
  const auto offset = [&](std::size_t index) {
    return static_cast<char32_t>(byteAt(unit, index) - cells.units[index].first);
  };
  const char32_t row = unit.size() > 1 ? offset(unit.size() - 2) : 0;
  return cells.first + row * static_cast<char32_t>(cells.perRow) + offset(unit.size() - 1);
}

}  // namespace sourcetype
