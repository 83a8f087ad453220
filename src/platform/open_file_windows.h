// Opens files and examines open ones. Included by *_windows.cpp only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "platform/file_identity.h"
#include "platform/handle_windows.h"
#include "platform/windows_api.h"

namespace sourcetype {

// Bytes of one read or write: a multiple of the block size, small enough for network drives.
inline constexpr std::size_t kMaxTransfer = std::size_t{16} << 20;

// Other programs may read, write, rename and delete files that this program has open.
inline constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

inline Handle openFile(const std::filesystem::path& path, DWORD access, DWORD disposition,
                       DWORD flags = 0) {
  return Handle(CreateFileW(systemName(path).c_str(), access, kShareAll, nullptr, disposition,
                            flags | kNoImpersonation, nullptr));
}

// Asks for attributes only: that works also for a file that its owner does not share.
inline Handle openToExamine(const std::filesystem::path& path) {
  return openFile(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
}

// Empty for a device or a pipe, which are not files of a file system.
inline std::optional<BY_HANDLE_FILE_INFORMATION> informationOf(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(file) != FILE_TYPE_DISK || !GetFileInformationByHandle(file, &information)) {
    return std::nullopt;
  }
  return information;
}

inline bool describesDirectory(const BY_HANDLE_FILE_INFORMATION& information) {
  return (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

inline std::uint64_t joined(DWORD high, DWORD low) {
  return (std::uint64_t{high} << 32U) | low;
}

inline FileIdentity identityOf(const BY_HANDLE_FILE_INFORMATION& information) {
  constexpr std::int64_t kTicksBefore1970 = 116'444'736'000'000'000;  // the system's begin in 1601
  constexpr std::int64_t kNanosecondsPerTick = 100;
  const auto& written = information.ftLastWriteTime;
  const auto ticks =
      static_cast<std::int64_t>(joined(written.dwHighDateTime, written.dwLowDateTime));
  return {.device = information.dwVolumeSerialNumber,
          .number = joined(information.nFileIndexHigh, information.nFileIndexLow),
          .size = joined(information.nFileSizeHigh, information.nFileSizeLow),
          .modified = (ticks - kTicksBefore1970) * kNanosecondsPerTick};
}

// The path of an open file without links; empty, with the system's last error set, on failure.
inline std::filesystem::path finalPath(const Handle& file) {
  constexpr std::size_t kMaxPath = 32768;  // characters
  std::wstring name(kMaxPath, L'\0');
  const DWORD size = GetFinalPathNameByHandleW(file.get(), name.data(),
                                               static_cast<DWORD>(name.size()), VOLUME_NAME_DOS);
  name.resize(size < name.size() ? size : 0);
  return name;
}

}  // namespace sourcetype
