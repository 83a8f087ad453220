// How long an expression out of configuration is tried on the lines of a file.
#pragma once

#include <chrono>
#include <string_view>

#include "util/regex.h"

namespace sourcetype {

// One for each expression and file: what is said of a file must not depend on the files before it.
class Patience {
 public:
  // As regex.match(line, result); false without a try once the expression was given up, which is
  // logged.
  bool match(const Regex& regex, std::string_view line, MatchResult& result);

  bool isOver() const { return costlyLines_ >= kMostCostlyLines || spent_ >= kMostTime; }

 private:
  // Lines on which the expression reached its limits, at up to some 0.1 s each.
  static constexpr int kMostCostlyLines = 8;

  // For what stays within its limits line by line, as "\w+[!?]" does in 0.1 s for 10,000 letters,
  // since nothing counts the characters that a repeat runs over. A useful expression takes a
  // thousandth of this. An anchored one is not timed: its single try takes 3 ms at most.
  static constexpr std::chrono::nanoseconds kMostTime = std::chrono::seconds(1);

  int costlyLines_ = 0;
  std::chrono::nanoseconds spent_{0};
};

}  // namespace sourcetype
