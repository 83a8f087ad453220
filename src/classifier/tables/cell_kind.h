// Kinds of cells in a table, by their text alone.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

namespace sourcetype {

enum class CellKind : std::uint8_t {
  Empty,    // also marks of missing values: "NA", "null", "-"
  Number,   // also with a sign, currency, percent, exponent, or separators of thousands
  Date,     // also months, quarters, and dates with a time
  Time,     // a time of day or a duration
  Flag,     // true, false, yes, no
  Address,  // IP address, e-mail, URL, UUID, absolute path
  Text,
};
inline constexpr std::size_t kCellKinds = 7;

// `cell` has no quotes around it. Blanks around it are ignored.
CellKind cellKind(std::string_view cell);

// True for values that do not name a column: numbers, dates, times and addresses.
constexpr bool isValueKind(CellKind kind) {
  return kind == CellKind::Number || kind == CellKind::Date || kind == CellKind::Time ||
         kind == CellKind::Address;
}

}  // namespace sourcetype
