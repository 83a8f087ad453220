// How long an expression out of configuration is tried on the lines of a file.
#pragma once

#include <chrono>
#include <cstdint>
#include <string_view>

#include "util/regex.h"

namespace sourcetype {

// One for each expression and file: what is said of a file must not depend on the files before it.
class Patience {
 public:
  // As regex.match(line, result); false without a try once the expression was given up, which is
  // logged: when it reached its limits on several lines, at up to some 0.1 s each, or took far more
  // time than a useful one does. Nothing counts the characters that a repeat runs over, so that
  // "\w+[!?]" takes 0.1 s for 10,000 letters and stays within its limits.
  bool match(const Regex& regex, std::string_view line, MatchResult& result);

  bool isOver() const { return isOver_; }

 private:
  bool isTimeOver() const;

  int costlyLines_ = 0;
  std::uint64_t bytes_ = 0;
  std::chrono::nanoseconds begin_{0};  // of the first try, in the time of the thread
  std::chrono::nanoseconds spent_{0};  // in tries, by the clock on the wall
  bool isOver_ = false;
};

}  // namespace sourcetype
