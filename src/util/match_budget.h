// How much searching for expressions that come from configuration may cost.
#pragma once

#include <algorithm>
#include <cstdint>

namespace sourcetype {

// The cost of a search is counted in steps, never in time, so that the same file and configuration
// give the same answer on every machine. One step is a character of the subject that the matcher
// runs over (about 1 ns); trying an item of the expression costs several (see search_meter.h).
class MatchBudget {
 public:
  constexpr explicit MatchBudget(std::uint64_t steps) : left_(steps) {}

  std::uint64_t left() const { return left_; }
  bool isSpent() const { return left_ == 0; }
  void spend(std::uint64_t steps) { left_ -= std::min(left_, steps); }
  void add(std::uint64_t steps) { left_ += steps; }

 private:
  std::uint64_t left_;
};

}  // namespace sourcetype
