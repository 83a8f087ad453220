// The difference of two texts, line by line.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

struct DiffLine {
  char kind;              // ' ': in both texts, '-': in the first only, '+': in the second only
  std::string_view line;  // with its newline, if it has one; a part of the text
};

// The lines of both texts in order; removed lines come before the added ones at the same place. The
// common lines are as many as possible. If the changed part is too large to compare, all its lines
// are removed and added.
std::vector<DiffLine> diffLines(std::string_view before, std::string_view after);

struct DiffCounts {
  std::size_t added = 0;
  std::size_t removed = 0;
};
DiffCounts countChanges(const std::vector<DiffLine>& lines);

// The hunks as `diff -u` prints them, with three lines of context: `patch` and `git apply` accept
// them. Empty for texts that are the same. Add the two lines with the names before them.
std::string unifiedHunks(const std::vector<DiffLine>& lines);

}  // namespace sourcetype
