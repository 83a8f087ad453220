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
  // Most expressions are excluded here, so the tree is not kept for the next file.
  const auto tree = tree_ ? std::exchange(tree_, {}) : ExpressionTree::parse(pattern_);
  if (!sourcetype::mayMatch(*tree, lines, count)) return false;
  if (!automaton_) automaton_.emplace(*tree);
  return true;
}

bool FilteredRegex::admits(const CountedLines& lines, std::size_t index) {
  return !automaton_ || automaton_->accepts(lines[index], lines.sharedStart(index));
}

const Regex& FilteredRegex::regex() {
  if (!regex_) regex_.emplace(pattern_);
  return *regex_;
}

}  // namespace sourcetype
