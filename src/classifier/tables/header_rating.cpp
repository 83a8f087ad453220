#include "classifier/tables/header_rating.h"

#include <algorithm>
#include <string_view>
#include <unordered_set>
#include <vector>

#include "classifier/tables/cell_kind.h"
#include "classifier/tables/column_name.h"
#include "classifier/tables/column_profile.h"
#include "classifier/tables/header_axis.h"

namespace sourcetype {
namespace {

// More rows and columns do not change the answer.
constexpr std::size_t kMaxRows = 400;
constexpr std::size_t kMaxColumns = 400;

constexpr double kNoHeader = -10;

using Rows = std::vector<const TableRecord*>;

bool isSameRecord(const TableRecord& a, const TableRecord& b) {
  return std::ranges::equal(a.cells, b.cells, {}, &TableCell::text, &TableCell::text);
}

// The rows without repetitions of the header, which joined files have.
Rows rowsAfter(const TableRecord& header, std::span<const TableRecord> all) {
  Rows rows;
  for (const auto& row : all.first(std::min(all.size(), kMaxRows))) {
    if (!isSameRecord(row, header)) rows.push_back(&row);
  }
  return rows;
}

bool isPartOfMessage(const TableCell& cell) {
  return isMessagePart(cell.text) ||
         (!cell.quoted && cell.text.find('"') != std::string_view::npos);
}

std::size_t countRepeated(const TableRecord& header) {
  std::unordered_set<std::string_view> seen;
  return static_cast<std::size_t>(std::ranges::count_if(header.cells, [&](const auto& cell) {
    return !cell.text.empty() && !seen.insert(cell.text).second;
  }));
}

// A record without rows is a header when its cells are words, and one of them is usual for columns.
double rateOnlyRecord(const TableRecord& header) {
  const auto isName = [](const TableCell& cell) {
    return isIdentifier(cell.text) || hasColumnWord(cell.text);
  };
  if (!std::ranges::all_of(header.cells, isName) || countRepeated(header) > 0) return kNoHeader;
  const bool hasWord = std::ranges::any_of(header.cells, hasColumnWord, &TableCell::text);
  return hasWord || header.cells.size() > 2 ? 1 : kNoHeader;
}

// What the cells of a header are.
struct CellCounts {
  double rate = 0;  // sum of the ratings of the names
  double filled = 0;
  double numbers = 0;     // above texts
  double unnamed = 0;     // columns with values, after the first one
  bool hasValue = false;  // one that is like the values of its column
};

CellCounts countCells(const TableRecord& header, const Rows& rows) {
  const auto axis = findAxis(header, rows);
  CellCounts counts;
  for (std::size_t i = 0; i < std::min(header.cells.size(), kMaxColumns); ++i) {
    const std::string_view name = header.cells[i].text;
    const ColumnProfile column = describeColumn(i, rows);
    const CellKind kind = cellKind(name);
    const bool isAboveNumbers = column.share(CellKind::Number) >= 0.8;
    if (name.empty()) {
      if (i > 0 && column.filled > 0) ++counts.unnamed;
      continue;
    }
    ++counts.filled;
    if (std::ranges::binary_search(axis, i)) {
      // One year above numbers is neither a reason for a header nor against it.
      if (axis.size() > 1) ++counts.rate;
      if (axis.size() == 1 && !isAboveNumbers) counts.hasValue = true;
    } else if (isValueKind(kind)) {
      if (kind != CellKind::Number || isAboveNumbers) counts.hasValue = true;
      ++counts.numbers;
    } else {
      counts.rate += rateName(name, column);
    }
  }
  return counts;
}

}  // namespace

double rateHeader(const TableRecord& header, std::span<const TableRecord> allRows) {
  if (std::ranges::any_of(header.cells, isPartOfMessage)) return kNoHeader;
  const Rows rows = rowsAfter(header, allRows);
  if (rows.empty()) return rateOnlyRecord(header);
  const CellCounts counts = countCells(header, rows);
  if (counts.filled == 0 || counts.hasValue || 2 * counts.unnamed > counts.filled) {
    return kNoHeader;
  }
  // Many names can outweigh a number above texts or nothing.
  constexpr double kMaxNumbers = 0.2;
  constexpr double kMinRatePerNumber = 5;
  if (counts.numbers > kMaxNumbers * counts.filled ||
      counts.rate < kMinRatePerNumber * counts.numbers) {
    return kNoHeader;
  }
  // Two rows of a table of names look like a header and a row.
  const double onlyRow = rows.size() == 1 ? 0.3 : 0;
  return counts.rate - static_cast<double>(countRepeated(header)) - counts.unnamed -
         2 * counts.numbers - onlyRow;
}

}  // namespace sourcetype
