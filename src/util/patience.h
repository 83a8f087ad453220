// How long an expression out of configuration is tried on the lines of a file.
#pragma once

#include <string_view>

#include "util/regex.h"

namespace sourcetype {

// One for each expression and file: what is said of a file must not depend on the files before it.
class Patience {
 public:
  // As regex.match(line, result); false without a try once the expression was too costly on several
  // lines, which is logged.
  bool match(const Regex& regex, std::string_view line, MatchResult& result);

  bool isOver() const { return costlyLines_ >= kMostCostlyLines; }

 private:
  // At up to some 0.1 s each.
  static constexpr int kMostCostlyLines = 8;

  int costlyLines_ = 0;
};

}  // namespace sourcetype
