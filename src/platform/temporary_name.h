// Names of the temporary files that replace others.
#pragma once

#include <filesystem>

namespace sourcetype {

// "<target>.<process>-<nanoseconds>.tmp", a name that no other call gives.
std::filesystem::path temporaryName(std::filesystem::path target);

// True for what temporaryName() makes of a file named `target`, and for hardly anything that
// somebody else would call a file. Both are names without a directory.
bool isTemporaryName(const std::filesystem::path& name, const std::filesystem::path& target);

}  // namespace sourcetype
