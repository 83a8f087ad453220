#include "classifier/tables/table_records.h"

#include <algorithm>

#include "util/text.h"

namespace sourcetype {
namespace {

// A quoted cell with more lines is more likely a stray quote.
constexpr std::size_t kMaxCellLines = 40;

// Every quote without an end can cause a search. When the searches in vain have read the text this
// many times, the remaining quotes are ordinary characters, so that the work stays linear.
constexpr std::size_t kMaxWaste = 4;

class RecordParser {
 public:
  RecordParser(std::string_view text, TableDialect dialect) : text_(text), dialect_(dialect) {}

  std::vector<TableRecord> parse() {
    std::vector<TableRecord> records;
    while (at_ < text_.size()) {
      const std::size_t begin = at_;
      TableRecord record;
      do {
        record.cells.push_back(readCell());
      } while (skip(dialect_.delimiter));
      record.text = text_.substr(begin, at_ - begin);
      records.push_back(std::move(record));
      skip('\n');
    }
    return records;
  }

 private:
  bool skip(char c) {
    if (at_ >= text_.size() || text_[at_] != c) return false;
    ++at_;
    return true;
  }

  // Stops after the cell: at a delimiter, a line feed or the end of the text.
  TableCell readCell() {
    const std::size_t begin = skipBlanks(at_);
    if (begin < text_.size() && text_[begin] == dialect_.quote) {
      const std::size_t end = findClosingQuote(begin + 1);
      if (end != std::string_view::npos) {
        at_ = skipBlanks(end + 1);
        return {trimBlanks(text_.substr(begin + 1, end - begin - 1)), true, false};
      }
    }
    const std::size_t from = at_;
    while (at_ < text_.size() && text_[at_] != dialect_.delimiter && text_[at_] != '\n') ++at_;
    return {trim(text_.substr(from, at_ - from), " \t\r"), false, begin > from};
  }

  std::size_t skipBlanks(std::size_t at) const {
    while (at < text_.size() && isOneOf(text_[at], " \t\r") && text_[at] != dialect_.delimiter) {
      ++at;
    }
    return at;
  }

  bool endsCell(std::size_t at) const {
    return at >= text_.size() || text_[at] == dialect_.delimiter || text_[at] == '\n';
  }

  // A quote closes the cell only if the cell ends after it: some programs do not double the quotes
  // in cells.
  std::size_t findClosingQuote(std::size_t from) {
    if (wastedBytes_ > kMaxWaste * text_.size()) return std::string_view::npos;
    std::size_t lines = 1;
    std::size_t at = from;
    for (; at < text_.size() && lines <= kMaxCellLines; ++at) {
      if (text_[at] == '\n') ++lines;
      if (text_[at] != dialect_.quote) continue;
      if (at + 1 < text_.size() && text_[at + 1] == dialect_.quote) {
        ++at;
      } else if (endsCell(skipBlanks(at + 1))) {
        return at;
      }
    }
    wastedBytes_ += at - from;
    return std::string_view::npos;
  }

  std::string_view text_;
  TableDialect dialect_;
  std::size_t at_ = 0;
  std::size_t wastedBytes_ = 0;  // that were searched for closing quotes in vain
};

}  // namespace

std::vector<TableRecord> parseRecords(std::string_view text, TableDialect dialect) {
  return RecordParser(text, dialect).parse();
}

}  // namespace sourcetype
