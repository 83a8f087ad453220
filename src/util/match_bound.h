// A bound of the number of lines that an expression can match, from what all matches have: bytes at
// the first positions, and bytes and texts somewhere. No line is looked at.
#pragma once

#include <cstddef>

#include "util/counted_lines.h"
#include "util/expression_tree.h"

namespace sourcetype {

// Whether the expression may match `count` of the lines.
bool mayMatch(const ExpressionTree& tree, const CountedLines& lines, std::size_t count);

}  // namespace sourcetype
