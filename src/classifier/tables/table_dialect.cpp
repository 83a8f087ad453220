#include "classifier/tables/table_dialect.h"

#include <algorithm>
#include <map>
#include <optional>
#include <span>

#include "classifier/tables/cell_kind.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// In the order of preference among equal scores.
constexpr std::string_view kTableDelimiters = ",\t;|";

// A line of dashes under the names, or an empty row.
bool isRule(std::string_view line) {
  return line.find_first_not_of("-=+*_|:, \t;\"") == std::string_view::npos;
}

// How sure it is that a cell is a whole value, from -0.5 to 1. Prose has blanks after commas, and
// dialects with delimiters in the cells are usually wrong.
double ratePlainness(const TableCell& cell) {
  if (cell.quoted) return 1;
  const CellKind kind = cellKind(cell.text);
  if (kind == CellKind::Number || kind == CellKind::Date || kind == CellKind::Time) return 1;
  if (cell.text.find('"') != std::string_view::npos) return -0.5;
  if (cell.text.find('\t') != std::string_view::npos) return 0.1;
  if (cell.text.find_first_of(",;|") != std::string_view::npos) return cell.indented ? 0.28 : 0.3;
  if (kind != CellKind::Text) return 1;
  return cell.indented ? 0.88 : 0.9;
}

double meanPlainness(std::span<const TableRecord> records) {
  constexpr std::size_t kMaxCells = 200;  // of a record
  double sum = 0;
  double count = 0;
  for (const auto& record : records) {
    for (std::size_t i = 0; i < std::min(record.cells.size(), kMaxCells); ++i) {
      sum += ratePlainness(record.cells[i]);
      ++count;
    }
  }
  return sum / count;
}

// Of equal numbers of records, the larger number of columns.
std::size_t commonColumns(std::span<const TableRecord> records) {
  std::map<std::size_t, std::size_t> counts;
  for (const auto& record : records) ++counts[record.cells.size()];
  std::size_t columns = 0;
  std::size_t maxCount = 0;
  for (const auto& [cells, count] : counts) {
    if (cells < 2 || count < maxCount) continue;
    maxCount = count;
    columns = cells;
  }
  return columns;
}

double scoreTable(const ParsedTable& table) {
  if (table.columns < 2) return 0;
  const auto hasColumns = [&](const auto& record) { return record.cells.size() == table.columns; };
  const auto even = std::ranges::count_if(table.records, hasColumns);
  const double evenness = static_cast<double>(even) / static_cast<double>(table.records.size());
  // More columns are less likely to be even by chance.
  const double certainty = 1 - 0.5 / static_cast<double>(table.columns);
  // Titles may be before the header, but usually the first record is the header.
  const double beginning = hasColumns(table.records.front()) ? 1 : 0.85;
  return std::max(0.0, evenness * certainty * beginning * meanPlainness(table.records));
}

ParsedTable parseIn(TableDialect dialect, std::string_view text) {
  ParsedTable table{.dialect = dialect};
  for (auto& record : parseRecords(text, dialect)) {
    if (isComment(record.text)) {
      if (table.records.empty()) table.comment = record.text;
    } else if (!isRule(record.text)) {
      table.records.push_back(std::move(record));
    }
  }
  table.columns = commonColumns(table.records);
  table.score = scoreTable(table);
  return table;
}

ParsedTable chooseDialect(std::string_view text, std::string_view delimiters, char quote) {
  ParsedTable best{.dialect = {delimiters.front(), quote}};
  for (const char delimiter : delimiters) {
    auto table = parseIn({delimiter, quote}, text);
    if (table.score > best.score) best = std::move(table);
  }
  return best;
}

// Returns the delimiter of a line "sep=;", which spreadsheets write before the table.
std::optional<char> readSeparatorLine(std::string_view line) {
  constexpr std::string_view kKey = "sep=";
  const std::string_view text = trim(line, "\" \r");
  if (text.size() != kKey.size() + 1 || !equalsIgnoringCase(text.substr(0, kKey.size()), kKey) ||
      !isOneOf(text.back(), kTableDelimiters)) {
    return std::nullopt;
  }
  return text.back();
}

}  // namespace

bool isComment(std::string_view line) {
  const std::string_view text = trimBlanks(line);
  return text.starts_with('#') || text.starts_with("//");
}

ParsedTable parseTable(std::string_view text) {
  const std::string_view firstLine = text.substr(0, text.find('\n'));
  if (const auto separator = readSeparatorLine(firstLine)) {
    const auto rest = text.substr(std::min(text.size(), firstLine.size() + 1));
    return chooseDialect(rest, std::string_view(&*separator, 1), '"');
  }
  ParsedTable best = chooseDialect(text, kTableDelimiters, '"');
  if (text.find('"') != std::string_view::npos || text.find('\'') == std::string_view::npos)
    return best;
  constexpr double kMinGain = 1.05;  // an apostrophe at the start of a cell is no quote
  ParsedTable other = chooseDialect(text, kTableDelimiters, '\'');
  return other.score > kMinGain * best.score ? other : best;
}

}  // namespace sourcetype
