#include "util/filtered_regex.h"

namespace sourcetype {

FilteredRegex::FilteredRegex(std::string_view pattern)
    : pattern_(pattern), filter_(LineFilter::of(pattern)) {
  if (filter_) return;
  try {
    regex_.emplace(pattern);
  } catch (const RegexException& error) {
    error_ = error.what();
  }
}

bool FilteredRegex::mayMatch(LineCounts& lines, std::size_t count) {
  if (!filter_) return true;
  if (filter_->maxAdmitted(lines) < count) return false;
  if (isRefined_) return true;
  filter_->refine(pattern_);
  isRefined_ = true;
  return filter_->maxAdmitted(lines) >= count;
}

const Regex& FilteredRegex::regex() {
  if (!regex_) regex_.emplace(pattern_);
  return *regex_;
}

}  // namespace sourcetype
