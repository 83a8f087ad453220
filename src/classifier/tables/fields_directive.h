// The line "#Fields:" that servers write before the lines that have these fields.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

struct FieldsDirective {
  std::string line = {};
  std::vector<std::string> names = {};
  char delimiter = ' ';  // of the lines after it
  double share = 0;      // of the lines that have as many fields as there are names
  std::size_t lines = 0;
};

// Finds "#Fields: a b c", "#Fields: a,b,c" or "#fields<tab>a<tab>b" among the lines that begin with
// "#" at the start. The names may be separated by blanks and the fields by tabs, so the lines after
// it decide the delimiter. Returns nothing when fewer than half of them have as many fields.
std::optional<FieldsDirective> findFieldsDirective(std::string_view text);

}  // namespace sourcetype
