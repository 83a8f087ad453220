// How much searching for expressions that come from configuration may cost.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace sourcetype {

// Steps that the stanza patterns and rules of configuration may spend on one file, about a second:
// a hundred times what the shipped ones spend on a thousand lines of usual length.
inline constexpr std::uint64_t kMaxFileCost = 1'000'000'000;

// The cost of a search is counted in steps, never in time, so that the same file and configuration
// give the same answer on every machine. One step is a character of the subject that the matcher
// runs over (about 1 ns); trying an item of the expression costs several (see search_meter.h).
class MatchBudget {
 public:
  // Steps for compiling an expression, some 10 us and 0.2 us a byte. They are spent for each file,
  // also where the run has compiled it before: what is said of a file does not depend on the files
  // before it.
  static constexpr std::uint64_t compilingCost(std::size_t patternSize) {
    return 10'000 + 200 * std::uint64_t{patternSize};
  }

  constexpr explicit MatchBudget(std::uint64_t steps) : left_(steps) {}

  std::uint64_t left() const { return left_; }
  bool isSpent() const { return left_ == 0; }
  void spend(std::uint64_t steps) { left_ -= std::min(left_, steps); }
  void add(std::uint64_t steps) { left_ += steps; }

 private:
  std::uint64_t left_;
};

}  // namespace sourcetype
