// The rows of a scan as JSON, as CSV and as a table.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "inspect/output.h"
#include "inspect/scan/scan_row.h"

namespace sourcetype {

// Of a column of shortInstant().
inline constexpr std::size_t kInstantWidth = 20;

// {"file", "sourcetype", "stage", "margin", "events", "first", "last"}, null where a value is not
// known; "truncated": true if the file has more than the sample; "error" if there is one.
Json toJson(const ScanRow& row);

// A row of RFC 4180, which ends with CR LF. A cell that a spreadsheet would calculate, because it
// begins with "=", "+", "-", "@", a tab or CR, gets an apostrophe before it.
std::string csvHead();
std::string toCsv(const ScanRow& row);

// The columns of a table. A narrow terminal gets fewer of them: the name of the file, which is the
// last one, is never cut.
class RowTable {
 public:
  // `width` is that of the terminal.
  RowTable(const Output& out, unsigned width);

  std::string head() const;
  std::string line(const ScanRow& row) const;

 private:
  const Output& out_;
  bool hasStage_;
  bool hasInstants_;
};

// `text` with blanks up to `width` columns. Text of more columns is not cut.
std::string padded(std::string_view text, std::size_t width);

// The instant without parts of a second; empty for none.
std::string shortInstant(const std::optional<Timestamp>& instant);

}  // namespace sourcetype
