// Examines the text around a piece of a line. Is the piece a field of its own, or part of something
// longer, such as an address, a version, a file name or a URL?
//
// `begin` is the offset where the searched part of the line begins; `offset` and `end` are the ends
// of the piece.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace sourcetype {

// True if nothing directly before the piece belongs to it.
bool beginsFreely(std::string_view line, std::size_t begin, std::size_t offset);

// True if nothing directly after the piece belongs to it.
bool endsFreely(std::string_view line, std::size_t end);

// True if a letter, a digit or "_" follows the piece.
bool isContinuedByWord(std::string_view line, std::size_t end);

// True if there are only punctuation and blanks before the piece.
bool isFirst(std::string_view line, std::size_t begin, std::size_t offset);

// The key of a field ("key=", "key:", "\"key\":") whose value is the piece; empty if there is none.
// A view into `line`.
std::string_view keyBefore(std::string_view line, std::size_t begin, std::size_t offset);

// The word next to the piece, in lower case. Only blanks, quotes, brackets and signs such as "=", ":"
// and "#" may be between them.
// A word has only letters; the result is empty if there is none.
std::string wordBefore(std::string_view line, std::size_t begin, std::size_t offset);
std::string wordAfter(std::string_view line, std::size_t end);

}  // namespace sourcetype
