// Names of the temporary files that replace others.
#pragma once

#include <filesystem>

namespace sourcetype {

// "<target>.<process>-<nanoseconds>.tmp": process and clock make it unlikely that the name is
// taken. What makes it safe is that the caller holds the target's lock and creates the file only
// where there is none.
std::filesystem::path temporaryName(std::filesystem::path target);

// True for what temporaryName() makes of a file named `target`, and for hardly anything that
// somebody else would call a file. Both are names without a directory.
bool isTemporaryName(const std::filesystem::path& name, const std::filesystem::path& target);

}  // namespace sourcetype
