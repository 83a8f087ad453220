// What the cells of a column have in common, and how well a text would name such a column.
#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string_view>
#include <unordered_map>

#include "classifier/tables/cell_kind.h"
#include "classifier/tables/table_records.h"

namespace sourcetype {

// Counts texts by their hash values, and how many of them occur once.
class Tally {
 public:
  void add(std::string_view text);
  bool contains(std::string_view text) const;
  // The estimated probability that one more text is new. It is the share of the texts that occur
  // once.
  double chanceOfNew() const;

 private:
  std::unordered_map<std::size_t, std::size_t> counts_;
  std::size_t singles_ = 0;
  std::size_t total_ = 0;
};

struct ColumnProfile {
  std::array<std::size_t, kCellKinds> kinds{};  // number of cells by kind
  std::size_t filled = 0;                       // cells that are not empty
  std::size_t withDigit = 0;
  double logLengths = 0;  // sum of the logarithms of the lengths
  double squaredLogLengths = 0;
  Tally values;
  Tally forms;  // runs of capitals, other letters and digits are one character each

  // The share of the filled cells that have this kind.
  double share(CellKind kind) const;
};

// Describes the cells with this index.
ColumnProfile describeColumn(std::size_t index, std::span<const TableRecord* const> rows);

// Rates a text as the name of a column: above 0 when it is more likely a name than one more value.
// A text above numbers, dates or other values of a kind is almost certainly a name.
double rateName(std::string_view name, const ColumnProfile& column);

}  // namespace sourcetype
