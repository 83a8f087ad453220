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

const Regex& FilteredRegex::regex() {
  if (!regex_) regex_.emplace(pattern_);
  return *regex_;
}

}  // namespace sourcetype
