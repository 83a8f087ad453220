// Windows paths of more than 260 characters.
#pragma once

#include <string>
#include <string_view>

namespace sourcetype {

// Converts an absolute Windows path to the form that may have up to 32,767 characters: C:\x becomes
// \\?\C:\x, and \\server\share\x becomes \\?\UNC\server\share\x. The name of a device (\\.\NUL)
// and a path that already has this form are returned unchanged.
inline std::wstring extendedPath(std::wstring_view absolute) {
  constexpr std::wstring_view kExtended = LR"(\\?\)";
  constexpr std::wstring_view kDevice = LR"(\\.\)";
  constexpr std::wstring_view kShare = LR"(\\)";
  std::wstring result;
  if (!absolute.starts_with(kExtended) && !absolute.starts_with(kDevice)) {
    result = kExtended;
    if (absolute.starts_with(kShare)) {
      result += LR"(UNC\)";
      absolute.remove_prefix(kShare.size());
    }
  }
  return result.append(absolute);
}

}  // namespace sourcetype
