// Where events begin and end in the lines of a sample.
//
// All of this works on bytes: letters, digits and whitespace are those of ASCII, and any other byte
// is punctuation, also one of a multi-byte character.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "classifier/sample.h"

namespace sourcetype {

// As many lines say whether lines are events and where timestamps stand; more are not looked at.
inline constexpr std::size_t kMaxExaminedLines = 1000;

// True when each line of the sample is taken to be one event: nothing is set off by separators or
// by indentation, and the lines share few patterns of punctuation. Also for fewer than two lines.
bool isSingleLineSample(const Sample& sample);

// An expression that matches the first line of every event; nothing when the sample has fewer than
// 1000 lines, when timestamps break its events, or when no good one is found.
std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample);

// --- The parts of it ---

// True when more than one line in twenty, of more than 100, holds a time of day such as 12:00:01.
bool looksTimestamped(const Sample& sample);

// The expressions that a line proposes for lines such as itself, from the shortest to the longest.
// Only the line's first 30 bytes count; one that begins with whitespace proposes none.
std::vector<std::string> lineStartCandidates(std::string_view line);

// The text as pieces of an expression: a run of letters, digits or whitespace is one piece ("\d+"),
// every other byte one of its own ("\-"). Of a run at the end the "+" is a piece of its own.
std::vector<std::string> tokenizeLineStart(std::string_view text);

}  // namespace sourcetype
