// A regular expression that is compiled when a line first passes its filter.
//
// Of the expressions that a file is tested with, most match none of its lines. To compile one takes
// longer than to filter a thousand lines.
//
//   if (!expression.mayMatch(lines, count)) return;
//   if (expression.admits(lines, i)) expression.regex().match(lines[i]);
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "util/counted_lines.h"
#include "util/expression_tree.h"
#include "util/line_automaton.h"
#include "util/regex.h"

namespace sourcetype {

class FilteredRegex {
 public:
  explicit FilteredRegex(std::string_view pattern);
  FilteredRegex(const FilteredRegex&) = delete;
  FilteredRegex& operator=(const FilteredRegex&) = delete;

  const std::string& pattern() const { return pattern_; }
  // The reason why the expression does not compile; empty if it compiles.
  const std::string& error() const { return error_; }
  // Whether at least `count` of the lines may match.
  bool mayMatch(const CountedLines& lines, std::size_t count);
  // False: the expression does not match the line. This is fast for lines in their order.
  bool admits(const CountedLines& lines, std::size_t index);
  // Requires that error() is empty.
  const Regex& regex();

 private:
  std::string pattern_;
  // Of the pattern, until it is first used, and from the second use on: to parse the rules again for
  // each file takes a quarter of the time.
  std::optional<ExpressionTree> tree_;
  bool isUnderstood_;
  bool isUsedAgain_ = false;
  std::optional<LineAutomaton> automaton_;
  std::optional<Regex> regex_;
  std::string error_;
};

}  // namespace sourcetype
