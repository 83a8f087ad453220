// Finds out how the lines of a table are delimited, and which of them names the columns.
//
//   const Table table = sniffTable(lines);
//   if (!table.names.empty()) use(table.delimiter, table.names);
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

struct Table {
  char delimiter = ',';     // a comma, semicolon, tab or "|"; a blank only with a "#Fields:" line
  double score = 0;         // from 0 to 1; 1 when all records have the same number of plain cells
  std::size_t records = 0;  // that were examined
  std::size_t columns = 0;  // that most records have
  // The header line and the texts of its cells. Both are empty when no line names the columns.
  std::string header = {};
  std::vector<std::string> names = {};
};

// Examines lines without their ends, as many as fit into a limit of bytes.
Table sniffTable(std::span<const std::string_view> lines);

}  // namespace sourcetype
