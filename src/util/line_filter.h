// A test that costs much less than a search: what all lines with a match of an expression have.
//
//   const auto filter = LineFilter::of(pattern);
//   if (filter && !filter->admits(line)) return false;  // the expression does not match the line
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "util/expression_tree.h"

namespace sourcetype {

// How many of some lines have a byte at a position.
class LineStarts {
 public:
  // A date and time have up to 23 bytes.
  static constexpr std::size_t kPositions = 24;

  void add(std::string_view line);
  // The lines with one of `bytes` at a position below kPositions.
  std::size_t count(std::size_t position, const ByteSet& bytes) const;

 private:
  std::array<std::array<std::uint32_t, 256>, kPositions> counts_{};
};

class LineFilter {
 public:
  // Nothing for an expression that ExpressionTree does not understand. Others compile.
  static std::optional<LineFilter> of(std::string_view pattern);

  // At most so many of the lines are admitted.
  std::size_t maxAdmitted(const LineStarts& lines) const;

  bool admits(std::string_view line) const {
    if (line.size() < first_.size()) return false;
    for (std::size_t i = 0; i < first_.size(); ++i) {
      if (!first_[i].contains(static_cast<unsigned char>(line[i]))) return false;
    }
    return hasText(line);
  }

 private:
  bool hasText(std::string_view line) const;

  std::vector<ByteSet> first_;  // what each of the first bytes of a line can be
  std::string text_;            // stands somewhere in the line
};

}  // namespace sourcetype
