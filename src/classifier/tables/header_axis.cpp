#include "classifier/tables/header_axis.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <unordered_set>

#include "classifier/tables/cell_kind.h"

namespace sourcetype {
namespace {

using Columns = std::vector<std::size_t>;

std::optional<long> readInteger(std::string_view text) {
  long number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || result.ptr != text.data() + text.size()) return std::nullopt;
  return number;
}

bool isYear(std::string_view text) {
  constexpr long kMinYear = 1700;
  constexpr long kMaxYear = 2100;
  const auto number = readInteger(text);
  return text.size() == 4 && number && *number >= kMinYear && *number <= kMaxYear;
}

bool isDate(std::string_view text) {
  return cellKind(text) == CellKind::Date;
}

std::vector<std::string_view> textsOf(const TableRecord& record, const Columns& columns) {
  std::vector<std::string_view> texts;
  for (const std::size_t i : columns) {
    if (i < record.cells.size()) texts.push_back(record.cells[i].text);
  }
  return texts;
}

// True for at least three numbers in steps of one from 0 or 1.
bool isCounted(std::span<const std::string_view> texts) {
  if (texts.size() < 3) return false;
  const auto first = readInteger(texts.front());
  if (!first || *first < 0 || *first > 1) return false;
  for (std::size_t i = 1; i < texts.size(); ++i) {
    if (readInteger(texts[i]) != *first + static_cast<long>(i)) return false;
  }
  return true;
}

enum class AxisKind { None, Years, Dates, Counted };

AxisKind axisKind(std::span<const std::string_view> texts) {
  const std::unordered_set<std::string_view> different(texts.begin(), texts.end());
  if (texts.empty() || different.size() < texts.size()) return AxisKind::None;
  if (std::ranges::all_of(texts, isYear)) return AxisKind::Years;
  if (isCounted(texts)) return AxisKind::Counted;
  return texts.size() > 1 && std::ranges::all_of(texts, isDate) ? AxisKind::Dates : AxisKind::None;
}

bool hasNumber(const TableRecord& record, const Columns& columns) {
  return std::ranges::any_of(textsOf(record, columns), [](std::string_view text) {
    return cellKind(text) == CellKind::Number;
  });
}

}  // namespace

std::vector<std::size_t> findAxis(const TableRecord& header,
                                  std::span<const TableRecord* const> rows) {
  constexpr std::size_t kMaxCompared = 3;
  Columns columns;
  for (std::size_t i = 0; i < header.cells.size(); ++i) {
    if (isValueKind(cellKind(header.cells[i].text))) columns.push_back(i);
  }
  const auto texts = textsOf(header, columns);
  const AxisKind kind = axisKind(texts);
  if (kind == AxisKind::None) return {};
  // 1,2,3 above numbers is a row, except after an empty name, which an index of rows has.
  const bool mayBeRow = kind == AxisKind::Counted && !header.cells.front().text.empty();
  for (const TableRecord* row : rows.first(std::min(rows.size(), kMaxCompared))) {
    if (axisKind(textsOf(*row, columns)) == kind || (mayBeRow && hasNumber(*row, columns)))
      return {};
  }
  return columns;
}

}  // namespace sourcetype
