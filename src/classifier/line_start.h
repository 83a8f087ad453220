// Expressions for how a line starts.
//
// All of this works on bytes: letters, digits and whitespace are those of ASCII, and any other byte
// is punctuation, also one of a multi-byte character.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

// Bytes of a line that say what it begins with.
inline constexpr std::size_t kLineStartBytes = 30;

// The expressions that a line proposes for lines such as itself, from the shortest to the longest.
// Only the line's first 30 bytes count; one that begins with whitespace proposes none.
std::vector<std::string> lineStartCandidates(std::string_view line);

// The text as pieces of an expression: a run of letters, digits or whitespace is one piece ("\d+"),
// every other byte one of its own ("\-"). Of a run at the end the "+" is a piece of its own.
std::vector<std::string> tokenizeLineStart(std::string_view text);

}  // namespace sourcetype
