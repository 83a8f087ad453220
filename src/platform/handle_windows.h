// Handles of open files on Windows. Included by *_windows.cpp only.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/extended_path.h"
#include "platform/system_error.h"
#include "platform/windows_api.h"

namespace sourcetype {

// Characters. The name of a directory must leave room for the 8.3 name of a file in it.
inline constexpr std::size_t kMaxPlainPath = 260 - 12;

// The name may be that of a pipe. Its server must not get the rights of this account.
inline constexpr DWORD kNoImpersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

[[noreturn]] inline void throwLastError(const std::string& what,
                                        const std::filesystem::path& path) {
  throwError(lastSystemError(), what, path);
}

// The name to pass to the system; the path may have any length.
inline std::wstring systemName(const std::filesystem::path& path) {
  std::array<wchar_t, kMaxPlainPath> buffer{};
  const DWORD size =
      GetFullPathNameW(path.c_str(), static_cast<DWORD>(buffer.size()), buffer.data(), nullptr);
  if (size < buffer.size()) return path.native();  // 0, a failure, included
  std::wstring absolute(size, L'\0');
  absolute.resize(GetFullPathNameW(path.c_str(), size, absolute.data(), nullptr));
  return extendedPath(absolute);
}

// A handle that closes itself.
class Handle {
 public:
  explicit Handle(HANDLE handle) : handle_(handle) {}
  Handle(Handle&& other) noexcept : handle_(other.release()) {}
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;
  Handle& operator=(Handle&&) = delete;
  ~Handle() { close(); }
  HANDLE get() const { return handle_; }
  bool isOpen() const { return handle_ != INVALID_HANDLE_VALUE; }
  HANDLE release() { return std::exchange(handle_, INVALID_HANDLE_VALUE); }
  void reset(HANDLE handle) {
    close();
    handle_ = handle;
  }
  void close() {
    if (isOpen()) CloseHandle(release());
  }

 private:
  HANDLE handle_;
};

inline HANDLE toHandle(std::intptr_t number) {
  return reinterpret_cast<HANDLE>(number);  // NOLINT(performance-no-int-to-ptr): it was one
}
inline std::intptr_t toNumber(HANDLE handle) {
  return reinterpret_cast<std::intptr_t>(handle);
}

}  // namespace sourcetype
