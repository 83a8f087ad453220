// The 94x94 sets of East Asia: two bytes, each 21-7E, for one character.
#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

constexpr bool isDoubleByteHalf(unsigned char byte) {
  return byte >= 0x21 && byte <= 0x7E;
}

class DoubleByteTable {
 public:
  // The set that the EUC charset `euc` has behind the bytes `prefix`, high bits set. Nothing when
  // the system's iconv does not have that charset.
  static std::optional<DoubleByteTable> fromEuc(const std::string& euc, std::string_view prefix);

  // The UTF-8 text of a cell, both bytes 21-7E; empty where the set has no character. Lives as long
  // as the table.
  std::string_view text(unsigned char row, unsigned char column) const;

 private:
  struct Cell {
    unsigned char length = 0;
    std::array<char, 3> text{};  // every character of these sets lies below U+10000
  };

  DoubleByteTable();

  std::vector<Cell> cells_;
};

}  // namespace sourcetype
