// The steps that searches for expressions from configuration may spend.
//
//   MatchBudget budget(kMaxFileCost);
//   regex.tryMatch(line, result, budget);  // spends steps; TooCostly once none are left
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace sourcetype {

// Steps that stanza patterns and rules may spend on one file, about a second. The shipped ones need
// a hundredth of it for a thousand lines of usual length.
inline constexpr std::uint64_t kMaxFileCost = 1'000'000'000;

// Searches are measured in steps, not in time, so that the same file and configuration have the
// same result on every machine. Reading one character of the subject is one step (about 1 ns);
// trying an item of the expression is several (see search_meter.h).
class MatchBudget {
 public:
  // Steps for compiling an expression: about 10 us, and 0.2 us a byte. Every file pays them, even
  // when an earlier file of the run had the expression compiled, so that the result for a file does
  // not depend on the files before it.
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
