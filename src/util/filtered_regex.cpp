#include "util/filtered_regex.h"

#include <utility>

#include "util/match_bound.h"

namespace sourcetype {

FilteredRegex::FilteredRegex(std::string_view pattern)
    : pattern_(pattern), tree_(ExpressionTree::parse(pattern_)), isUnderstood_(tree_.has_value()) {
  if (isUnderstood_) return;
  try {
    regex_.emplace(pattern);
  } catch (const RegexException& error) {
    error_ = error.what();
  }
}

bool FilteredRegex::mayMatch(const CountedLines& lines, std::size_t count) {
  if (!isUnderstood_) return true;
  if (!tree_) tree_ = ExpressionTree::parse(pattern_);
  const bool result = sourcetype::mayMatch(*tree_, lines, count);
  if (result && !automaton_) automaton_.emplace(*tree_);
  // A run for one file needs the tree once. The trees of all bundled rules take 6 MB.
  if (!std::exchange(isUsedAgain_, true)) tree_.reset();
  return result;
}

bool FilteredRegex::admits(const CountedLines& lines, std::size_t index) {
  return !automaton_ || automaton_->accepts(lines[index], lines.sharedStart(index));
}

const Regex& FilteredRegex::regex() {
  if (!regex_) regex_.emplace(pattern_);
  return *regex_;
}

}  // namespace sourcetype
