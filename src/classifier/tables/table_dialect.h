// Finds out how the cells of a delimited text are written.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

#include "classifier/tables/table_records.h"

namespace sourcetype {

struct ParsedTable {
  TableDialect dialect;
  std::vector<TableRecord> records = {};  // without comments and lines of dashes
  std::string_view comment = {};          // the last line of comment before the records
  std::size_t columns = 0;                // that most records have; 0 without any delimiter
  double score = 0;                       // from 0 to 1
};

// True for a line that begins with "#" or "//".
bool isComment(std::string_view line);

// Splits the text at commas, tabs, semicolons and "|", and returns the best result: many records
// have the same number of cells, and the cells are plain values (numbers, dates, quoted texts, words
// without other delimiters). A first line "sep=;" decides the delimiter. The result consists of
// views into `text`.
ParsedTable parseTable(std::string_view text);

}  // namespace sourcetype
