// The cells in which glibc and GNU libiconv differ, and what they hold on every system.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "charset/unit_form.h"

namespace sourcetype {

struct ChosenCells {
  std::string_view charset;  // as iconv calls it
  UnitForm units;
  char32_t first = 0;      // the character of the lowest unit; 0 where none of them is a character
  std::size_t perRow = 0;  // characters from one value of the last byte but one to the next value
};

// The cells of one charset, which no two of them share.
std::span<const ChosenCells> chosenCells(std::string_view charset);

// The character of `unit`, which must be one of `cells`; 0 where it has none.
char32_t chosenCharacter(const ChosenCells& cells, std::string_view unit);

}  // namespace sourcetype
