#include "platform/environment.h"

#include <cstdlib>

namespace sourcetype {

std::optional<std::filesystem::path> environmentPath(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets variables
  if (value == nullptr || *value == '\0') return std::nullopt;
  return value;
}

}  // namespace sourcetype
