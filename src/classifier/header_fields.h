// The fields of a delimited line, and the column names of a header line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

inline constexpr char kFieldQuote = '"';

// Splits a line at its delimiters. Fields keep their quotes and blanks. A delimiter between double
// quotes does not split. Fields live as long as the text of `line`.
std::vector<std::string_view> splitFields(std::string_view line, char delimiter);

// Returns a name for each field. All names differ and can be written between double quotes:
// - quotes, blanks, tabs and line ends around a field are removed
// - a quote or a doubled quote within becomes "_", as does an ASCII control character, and each
//   backslash at the end
// - an empty name becomes "field_<n>", where <n> counts the fields from 1
// - of equal names, the first stays and the others get the first of "_2", "_3" ... that is free
std::vector<std::string> nameFields(const std::vector<std::string_view>& fields);

}  // namespace sourcetype
