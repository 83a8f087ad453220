// What tests must know of the system they run on. Whatever can hold on one system only is named
// here, with its reason; everything else in tests/ is the same on all of them.
#pragma once

#include <filesystem>
#include <string>

namespace sourcetype::testing {

// False on Windows, whose pipes have a name space of their own: no directory can hold one.
extern const bool kHasFifos;
void makeFifo(const std::filesystem::path& path);

// False on Windows, where only administrators may make symbolic links; wine makes none at all.
extern const bool kHasSymbolicLinks;

// False on Windows, where access lists, which the standard library does not show, take their place.
extern const bool kHasPermissionBits;

// False on Windows, which allows neither control characters nor ":" in a name, and no bytes that
// are no text.
extern const bool kNamesAreAnyBytes;

// The name of something that is no file.
extern const char* const kDevice;

// What a caller sees when a program ends with -1: all of it on Windows, otherwise its last 8 bits.
extern const int kMinusOneAsStatus;

// Whether the text holds the system's own words for a file or directory that is not there.
bool saysMissing(const std::string& text);

}  // namespace sourcetype::testing
