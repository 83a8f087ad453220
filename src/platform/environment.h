// The process environment.
#pragma once

#include <filesystem>
#include <optional>

namespace sourcetype {

// The value of an environment variable that names a path; nothing when it is unset or empty.
std::optional<std::filesystem::path> environmentPath(const char* name);

}  // namespace sourcetype
