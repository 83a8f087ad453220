// What stands around a piece of a line: whether it is a field of its own or part of something
// longer, such as an address, a version, a file name or a URL.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sourcetype {

// True when nothing that belongs to it stands before `offset`. `begin` is where the line counts as
// beginning.
bool beginsFreely(std::string_view line, std::size_t begin, std::size_t offset);

// True when nothing that belongs to it stands from `end` on.
bool endsFreely(std::string_view line, std::size_t end);

// True when a letter, a digit or "_" stands at `end`.
bool isContinuedByWord(std::string_view line, std::size_t end);

// True when only punctuation and blanks stand before `offset`.
bool isFirst(std::string_view line, std::size_t begin, std::size_t offset);

// The key of a field ("key=", "key:", "\"key\":") whose value begins at `offset`; empty when there
// is none. A view into `line`.
std::string_view keyBefore(std::string_view line, std::size_t begin, std::size_t offset);

// The words next to a piece, in lower case: letters alone, behind or before blanks and "=", ":", at
// most; empty when something else stands there.
std::string wordBefore(std::string_view line, std::size_t begin, std::size_t offset);
std::string wordAfter(std::string_view line, std::size_t end);

}  // namespace sourcetype
