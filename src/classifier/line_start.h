// Expressions that match the start of a line.
//
// The functions work on bytes: letters, digits and whitespace are those of ASCII. Every other byte
// is punctuation, also each byte of a multi-byte character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

// Bytes of a line that are examined.
inline constexpr std::size_t kMaxLineStartBytes = 30;

// Returns the expressions that a line proposes for lines that start like it, in order of growing
// length: "^\d+:", "^\d+:\d" and so on. Returns none for a line that begins with whitespace.
std::vector<std::string> lineStartCandidates(std::string_view line);

// Returns the pieces of an expression for the text: one piece ("\d+") for a run of letters, digits
// or whitespace, and one ("\-") for every other byte. A run at the end gives two pieces ("\d" and
// "+").
std::vector<std::string> tokenizeLineStart(std::string_view text);

}  // namespace sourcetype
