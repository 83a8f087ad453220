// 1. A "#Fields:" line of a log names the columns.
// 2. Otherwise the dialect is chosen in which the text looks most like a table.
// 3. Among the first records that have enough cells, one that is more likely a header than a row is
//    the header, or else the comment before the first record.
#include "classifier/tables/table_sniffer.h"

#include <algorithm>
#include <optional>

#include "classifier/tables/fields_directive.h"
#include "classifier/tables/header_rating.h"
#include "classifier/tables/table_dialect.h"

namespace sourcetype {
namespace {

// More text does not change the answer, and the work is proportional to it.
constexpr std::size_t kMaxText = std::size_t{1} << 20;

constexpr double kMinHeaderRate = 0.2;

// After a row that is not complete, a header needs better reasons.
constexpr double kMinLaterRate = 1.5;

// In a text that is not a table, any line can look like a header.
constexpr double kMinScore = 0.25;

std::string joinLines(std::span<const std::string_view> lines) {
  std::string text;
  for (const auto line : lines) {
    if (!text.empty() && text.size() + line.size() > kMaxText) break;
    text.append(line.substr(0, kMaxText)).append("\n");
  }
  return text;
}

struct Header {
  std::string_view line;
  std::vector<TableCell> cells;
  double rate = 0;
};

bool isFilled(const TableCell& cell) {
  return !cell.text.empty();
}

// Spreadsheets write empty columns after the table.
std::size_t countUsedColumns(const ParsedTable& table) {
  std::vector<std::size_t> filled(table.columns);
  for (const auto& record : table.records) {
    for (std::size_t i = 0; i < std::min(record.cells.size(), filled.size()); ++i) {
      if (isFilled(record.cells[i])) ++filled[i];
    }
  }
  const auto isUsed = [&](std::size_t count) { return count * 10 >= table.records.size(); };
  return static_cast<std::size_t>(std::ranges::count_if(filled, isUsed));
}

// A title, or a setting of the report: a row with too few cells or texts.
bool isPreamble(const TableRecord& record, std::size_t columns, std::size_t usedColumns) {
  const auto filled = static_cast<std::size_t>(std::ranges::count_if(record.cells, isFilled));
  return filled < 2 || record.cells.size() + 1 < columns || filled * 2 < usedColumns;
}

bool isComplete(const TableRecord& record, std::size_t columns) {
  return record.cells.size() == columns && std::ranges::all_of(record.cells, isFilled);
}

// Titles, settings and names of groups of columns can look like headers with empty or missing cells.
// So rows are compared up to the first complete one.
std::optional<Header> findHeaderRecord(const ParsedTable& table) {
  constexpr std::size_t kMaxExamined = 40;
  const std::span<const TableRecord> records = table.records;
  const std::size_t usedColumns = countUsedColumns(table);
  std::optional<Header> best;
  double minRate = kMinHeaderRate;
  for (std::size_t i = 0; i < std::min(records.size(), kMaxExamined); ++i) {
    const auto& record = records[i];
    if (isPreamble(record, table.columns, usedColumns)) continue;
    const double rate = rateHeader(record, records.subspan(i + 1));
    if (rate > minRate) best = {record.text, record.cells, rate};
    if (isComplete(record, table.columns)) break;
    minRate = std::max(kMinLaterRate, best ? best->rate : 0);
  }
  return best;
}

// Names after a "#" in the line before the first record.
std::optional<Header> readCommentHeader(const ParsedTable& table) {
  const auto begin = std::min(table.comment.find_first_not_of("#/ "), table.comment.size());
  auto records = parseRecords(table.comment.substr(begin), table.dialect);
  if (records.size() != 1 || records.front().cells.size() < table.columns) return std::nullopt;
  const double rate = rateHeader(records.front(), table.records);
  if (rate <= kMinHeaderRate) return std::nullopt;
  return Header{table.comment, std::move(records.front().cells), rate};
}

std::optional<Header> findHeader(const ParsedTable& table) {
  if (table.columns < 2 || table.score < kMinScore) return std::nullopt;
  auto header = findHeaderRecord(table);
  auto comment = readCommentHeader(table);
  return comment && (!header || header->rate < comment->rate) ? comment : header;
}

Table tableOf(const FieldsDirective& directive) {
  return {.delimiter = directive.delimiter,
          .score = directive.share,
          .records = directive.lines,
          .columns = directive.names.size(),
          .header = directive.line,
          .names = directive.names};
}

}  // namespace

Table sniffTable(std::span<const std::string_view> lines) {
  const std::string text = joinLines(lines);
  if (const auto directive = findFieldsDirective(text)) return tableOf(*directive);
  const ParsedTable parsed = parseTable(text);
  Table table{.delimiter = parsed.dialect.delimiter,
              .score = parsed.score,
              .records = parsed.records.size(),
              .columns = parsed.columns};
  if (const auto header = findHeader(parsed)) {
    table.header = header->line;
    for (const auto& cell : header->cells) table.names.emplace_back(cell.text);
  }
  return table;
}

}  // namespace sourcetype
