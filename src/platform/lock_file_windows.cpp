#include "platform/lock_file.h"

#include <array>
#include <optional>

#include "platform/environment.h"
#include "platform/handle_windows.h"

namespace sourcetype {
namespace {

// The locked bytes. Other processes cannot read them, so the note of the holder is after them.
constexpr DWORD kLockedBytes = 1;
constexpr LONGLONG kNoteOffset = 16;

// Deletion is not shared: the system refuses it while any process has the file open.
HANDLE openShared(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  return CreateFileW(systemName(path).c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                     disposition, FILE_FLAG_OPEN_REPARSE_POINT | kNoImpersonation, nullptr);
}

HANDLE openLockFile(const std::filesystem::path& path) {
  HANDLE file = openShared(path, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS);
  if (file != INVALID_HANDLE_VALUE || GetLastError() != ERROR_ACCESS_DENIED) return file;
  return openShared(path, GENERIC_READ, OPEN_EXISTING);  // of another account; reading is enough
}

std::error_code lockFirstByte(std::intptr_t file, DWORD flags) {
  OVERLAPPED firstByte{};
  if (LockFileEx(toHandle(file), flags, 0, kLockedBytes, 0, &firstByte)) return {};
  const DWORD error = GetLastError();
  if (error == ERROR_LOCK_VIOLATION || error == ERROR_IO_PENDING) {
    return std::make_error_code(std::errc::resource_unavailable_try_again);
  }
  SetLastError(error);
  return lastSystemError();
}

}  // namespace

LockFile::LockFile(const std::filesystem::path& path)
    : path_(path), handle_(toNumber(openLockFile(path))) {
  if (toHandle(handle_) == INVALID_HANDLE_VALUE) {
    throwLastError("cannot create the lock file", path);
  }
}

LockFile::~LockFile() {
  const Handle closed(toHandle(handle_));
}

std::error_code LockFile::lock() const {
  return lockFirstByte(handle_, LOCKFILE_EXCLUSIVE_LOCK);
}

std::error_code LockFile::tryLock() const {
  return lockFirstByte(handle_, LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY);
}

void LockFile::announce() const {
  const LockHolder self{.process = processId(), .since = GetTickCount64()};
  LARGE_INTEGER offset{};
  offset.QuadPart = kNoteOffset;
  DWORD written = 0;  // on failure messages name no process
  if (SetFilePointerEx(toHandle(handle_), offset, nullptr, FILE_BEGIN)) {
    static_cast<void>(WriteFile(toHandle(handle_), &self, sizeof self, &written, nullptr));
  }
}

// Uses a handle of its own: calls with the other handle block while it waits for the lock.
LockHolder LockFile::holder() const {
  const Handle file(openShared(path_, GENERIC_READ, OPEN_EXISTING));
  LARGE_INTEGER offset{};
  offset.QuadPart = kNoteOffset;
  LockHolder holder;
  DWORD size = 0;
  const bool isRead = file.isOpen() && SetFilePointerEx(file.get(), offset, nullptr, FILE_BEGIN) &&
                      ReadFile(file.get(), &holder, sizeof holder, &size, nullptr);
  return isRead && size == sizeof holder ? holder : LockHolder{};
}

// An open lock file cannot be deleted.
bool LockFile::isInPlace() const {
  return true;
}

}  // namespace sourcetype
