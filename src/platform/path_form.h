// How paths look as text. Paths stay std::filesystem::path until they become text; text is UTF-8.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sourcetype {

// What differs between the two ways of writing a path. A value, handed to the code that needs it,
// so that both forms work and are tested on every machine.
struct PathForm {
  char separator;
  bool literalBackslash;  // a backslash in a stanza pattern is itself, not an escape
};

inline constexpr PathForm kWindowsPathForm{.separator = '\\', .literalBackslash = true};
inline constexpr PathForm kPosixPathForm{.separator = '/', .literalBackslash = false};

// The form of the machine this program runs on.
PathForm nativePathForm();

// The path as text. On POSIX these are the bytes of the name, whatever they are; on Windows, UTF-8
// in which U+FFFD stands for what is no valid UTF-16.
std::string pathToText(const std::filesystem::path& path);

// The inverse of pathToText(), wherever that kept everything.
std::filesystem::path pathFromText(std::string_view text);

}  // namespace sourcetype
