#include "platform/environment.h"

#include <unistd.h>

#include <cstdlib>

namespace sourcetype {

std::optional<std::filesystem::path> environmentPath(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets variables
  if (value == nullptr || *value == '\0') return std::nullopt;
  return value;
}

std::uint32_t processId() {
  return static_cast<std::uint32_t>(::getpid());
}

}  // namespace sourcetype
