// The process and its environment.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

namespace sourcetype {

// The value of an environment variable that names a path; nothing when it is unset or empty.
std::optional<std::filesystem::path> environmentPath(const char* name);

// The number of this process, unique among the processes that run now.
std::uint32_t processId();

}  // namespace sourcetype
