// A regular expression that is compiled when a line first passes its filter.
//
// Of the expressions that a file is tested with, most match none of its lines. To compile one takes
// longer than to filter a thousand lines.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "util/line_filter.h"
#include "util/regex.h"

namespace sourcetype {

class FilteredRegex {
 public:
  explicit FilteredRegex(std::string_view pattern);

  const std::string& pattern() const { return pattern_; }
  // The reason why the expression does not compile; empty if it compiles.
  const std::string& error() const { return error_; }
  // False: the expression does not match the line.
  bool admits(std::string_view line) const { return !filter_ || filter_->admits(line); }
  // Whether at least `count` of the lines may match.
  bool mayMatch(LineCounts& lines, std::size_t count);
  // Requires that error() is empty.
  const Regex& regex();

 private:
  std::string pattern_;
  std::optional<LineFilter> filter_;
  bool isRefined_ = false;
  std::optional<Regex> regex_;
  std::string error_;
};

}  // namespace sourcetype
