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

// How many of some lines have a byte or a text.
class LineCounts {
 public:
  // A date and time have up to 23 bytes.
  static constexpr std::size_t kPositions = 24;

  // The lines must outlive the object.
  explicit LineCounts(std::vector<std::string_view> lines);

  // The lines with one of `bytes` at a position below kPositions.
  std::size_t at(std::size_t position, const ByteSet& bytes) const;
  // At least as many as the lines that contain a byte, or a text.
  std::size_t with(unsigned char byte) const { return longLines_ + bytes_[byte]; }
  std::size_t with(std::string_view text);

 private:
  // Three bytes in a row have one of so many numbers.
  static constexpr std::size_t kTriples = 16384;
  // Longer lines are taken to contain everything.
  static constexpr std::size_t kMaxLine = 1024;

  static std::size_t numberOf(std::string_view triple);
  void countTriples();

  std::vector<std::string_view> lines_;
  std::array<std::array<std::uint32_t, 256>, kPositions> starts_{};
  std::array<std::uint32_t, 256> bytes_{};
  std::vector<std::uint32_t> triples_;  // counted when first needed
  std::size_t longLines_ = 0;
};

class LineFilter {
 public:
  // Nothing for an expression that ExpressionTree does not understand. Others compile.
  static std::optional<LineFilter> of(std::string_view pattern);

  // Makes the filter of `pattern` admit fewer lines. This takes longer than to make the filter.
  void refine(std::string_view pattern);

  // At most so many of the lines are admitted.
  std::size_t maxAdmitted(LineCounts& lines) const;

  bool admits(std::string_view line) const {
    if (line.size() < first_.size()) return false;
    for (std::size_t i = 0; i < first_.size(); ++i) {
      if (!first_[i].contains(static_cast<unsigned char>(line[i]))) return false;
    }
    return hasTexts(line);
  }

 private:
  using Texts = std::vector<std::string>;

  bool hasTexts(std::string_view line) const;

  std::vector<ByteSet> first_;    // what each of the first bytes of a line can be
  ByteSet required_;              // each stands somewhere in the line
  std::vector<Texts> someTexts_;  // of each, one stands somewhere in the line
};

}  // namespace sourcetype
