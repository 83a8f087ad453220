#include "charset/double_byte_table.h"

#include <algorithm>

#include "charset/iconv_stream.h"

namespace sourcetype {
namespace {

constexpr std::size_t kColumns = 94;

constexpr std::size_t cellIndex(unsigned char row, unsigned char column) {
  return (row - std::size_t{0x21}) * kColumns + (column - std::size_t{0x21});
}

// True for a character in U+E000-F8FF. GNU libiconv uses these characters for the user rows of
// EUC-JP, which are not part of the set.
bool isPrivateUse(std::string_view utf8) {
  return utf8 >= "\xEE\x80\x80" && utf8 <= "\xEF\xA3\xBF";
}

}  // namespace

DoubleByteTable::DoubleByteTable() : cells_(kColumns * kColumns) {}

std::optional<DoubleByteTable> DoubleByteTable::fromEuc(const std::string& euc,
                                                        std::string_view prefix) {
  auto stream = IconvStream::open(euc);
  if (!stream) return std::nullopt;
  DoubleByteTable table;
  std::string text;
  for (unsigned char row = 0x21; isDoubleByteHalf(row); ++row) {
    for (unsigned char column = 0x21; isDoubleByteHalf(column); ++column) {
      const std::string unit =
          std::string(prefix) + static_cast<char>(row | 0x80) + static_cast<char>(column | 0x80);
      std::string_view rest = unit;
      text.clear();
      const auto stop = stream->convert(rest, text);
      Cell& cell = table.cells_[cellIndex(row, column)];
      if (stop != IconvStream::Stop::End || text.size() > cell.text.size()) continue;
      if (isPrivateUse(text)) continue;
      cell.length = static_cast<unsigned char>(text.size());
      std::ranges::copy(text, cell.text.begin());
    }
  }
  return table;
}

std::string_view DoubleByteTable::text(unsigned char row, unsigned char column) const {
  const Cell& cell = cells_[cellIndex(row, column)];
  return {cell.text.data(), cell.length};
}

}  // namespace sourcetype
