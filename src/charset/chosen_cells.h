// Cells of charsets for which glibc and GNU libiconv have different characters, and the characters
// that this program has chosen for them, so that results are equal on all systems.
#pragma once

#include <cstddef>
#include <span>
#include <string_view>

#include "charset/unit_form.h"

namespace sourcetype {

struct ChosenCells {
  std::string_view charset;  // its name in iconv
  UnitForm units;
  char32_t first = 0;      // the character of the lowest unit; 0: these units have no character
  std::size_t perRow = 0;  // how much the character grows when the last byte but one grows by 1
};

// The cells of one charset. No unit is in two of them.
std::span<const ChosenCells> chosenCells(std::string_view charset);

// The character of `unit`, which must be in `cells`; 0 when it has none.
char32_t chosenCharacter(const ChosenCells& cells, std::string_view unit);

}  // namespace sourcetype
