// The 94x94 sets of East Asia: a character has two bytes, each in 21-7E.
#pragma once

#include <array>
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
  // The set that the EUC charset `euc` has after the bytes `prefix`, where the high bits of its
  // bytes are set. Nothing when the system's iconv does not have the charset.
  static std::optional<DoubleByteTable> fromEuc(const std::string& euc, std::string_view prefix);

  // The UTF-8 text of a cell; empty when the set has no character. Needs both bytes in 21-7E. Lives
  // as long as the table.
  std::string_view text(unsigned char row, unsigned char column) const;

 private:
  struct Cell {
    unsigned char length = 0;
    std::array<char, 3> text{};  // the characters of these sets are below U+10000
  };

  DoubleByteTable();

  std::vector<Cell> cells_;
};

}  // namespace sourcetype
