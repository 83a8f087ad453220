// Converts paths to text and back. Text is UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sourcetype {

// The two ways of writing a path. A value that is passed to the code that needs it, so that both
// forms are tested on every machine.
struct PathForm {
  char separator;
  bool literalBackslash;  // in a stanza pattern a backslash is a character, not an escape
};

inline constexpr PathForm kWindowsPathForm{.separator = '\\', .literalBackslash = true};
inline constexpr PathForm kPosixPathForm{.separator = '/', .literalBackslash = false};

// The form of this machine.
PathForm nativePathForm();

// The path as text. On POSIX these are the bytes of the name, which need not be UTF-8. On Windows,
// U+FFFD replaces invalid UTF-16.
std::string pathToText(const std::filesystem::path& path);

// The inverse of pathToText(), for paths of which it replaced nothing.
std::filesystem::path pathFromText(std::string_view text);

}  // namespace sourcetype
