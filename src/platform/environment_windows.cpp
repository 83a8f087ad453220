#include "platform/environment.h"

#include <string>

#include "platform/path_form.h"
#include "platform/windows_api.h"

namespace sourcetype {

std::optional<std::filesystem::path> environmentPath(const char* name) {
  const std::wstring wideName = pathFromText(name).native();
  std::wstring value;
  DWORD size = GetEnvironmentVariableW(wideName.c_str(), nullptr, 0);
  while (size > value.size()) {  // another thread may have set a longer value meanwhile
    value.resize(size);
    size = GetEnvironmentVariableW(wideName.c_str(), value.data(), size);
  }
  if (size == 0) return std::nullopt;
  value.resize(size);
  return value;
}

std::uint32_t processId() {
  return GetCurrentProcessId();
}

}  // namespace sourcetype
