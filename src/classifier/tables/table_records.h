// Records of a delimited text. A record may have several lines, as quoted cells may contain line
// ends.
#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace sourcetype {

// How the cells of a text are written.
struct TableDialect {
  char delimiter;
  char quote;  // a cell that begins with it ends at the next one; a doubled one is a character
};

struct TableCell {
  std::string_view text;  // without its quotes and the blanks around it; doubled quotes stay
  bool quoted = false;
  bool indented = false;  // blanks were before it
};

struct TableRecord {
  std::string_view text;
  std::vector<TableCell> cells;
};

// Splits a text into records, which end at line feeds outside quotes. A quote that is not closed
// within a number of lines is an ordinary character. The result consists of views into `text`.
std::vector<TableRecord> parseRecords(std::string_view text, TableDialect dialect);

}  // namespace sourcetype
