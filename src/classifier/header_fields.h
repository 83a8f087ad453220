// The columns that a header line names.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

inline constexpr char kFieldQuote = '"';

// The line's fields between delimiters, as they stand. A delimiter between double quotes is text.
std::vector<std::string_view> splitFields(std::string_view line, char delimiter);

// A name for each field, all different and fit to stand between double quotes in one line:
// - without quotes, blanks and line ends around it; a doubled quote within is one quote
// - quotes and control characters within, and backslashes at the end, become "_"
// - a field without a name is "field_<n>", counted from 1
// - of equal names the second and later ones get the first of "_2", "_3" ... that is not taken
std::vector<std::string> nameFields(const std::vector<std::string_view>& fields);

}  // namespace sourcetype
