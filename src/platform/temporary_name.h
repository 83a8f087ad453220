// Names of the temporary files that replace others.
#pragma once

#include <filesystem>

namespace sourcetype {

// "<target>.<process>-<nanoseconds>.tmp": process and clock make it unlikely that the name exists.
// It is safe because the caller has the target's lock and creates the file only if there is none.
std::filesystem::path temporaryName(std::filesystem::path target);

// True for names that temporaryName() makes for a file named `target`. Other programs hardly use
// such names. Both are names without a directory.
bool isTemporaryName(const std::filesystem::path& name, const std::filesystem::path& target);

}  // namespace sourcetype
