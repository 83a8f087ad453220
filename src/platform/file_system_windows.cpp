#include "platform/file_system.h"

#include <algorithm>
#include <array>
#include <optional>
#include <thread>
#include <utility>

#include "platform/extended_path.h"
#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/temporary_name.h"
#include "platform/windows_api.h"

namespace sourcetype {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

// Bytes of one read or write: a multiple of the block size, and no network drive refuses it.
constexpr std::size_t kMaxTransfer = std::size_t{16} << 20;

// Characters. A directory's name must leave room for a file of the old 8.3 form in it.
constexpr std::size_t kMaxPlainPath = 260 - 12;

constexpr milliseconds kPollInterval{10};

// How long a write waits for somebody who has the file open: a reader, or a virus scanner, which
// opens whatever was written.
constexpr milliseconds kPatience{2000};

// Others may read, write, rename and delete what this program has open.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// The name may be that of a pipe; whoever serves it must not act for this account.
constexpr DWORD kNoImpersonation = SECURITY_SQOS_PRESENT | SECURITY_IDENTIFICATION;

[[noreturn]] void throwError(std::error_code error, const std::string& what, const fs::path& path) {
  throw std::system_error(error, what + " " + pathToText(path));
}

[[noreturn]] void throwLastError(const std::string& what, const fs::path& path) {
  throwError(lastSystemError(), what, path);
}

// The name to hand to the system, whatever the length of the path.
std::wstring systemName(const fs::path& path) {
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

Handle open(const fs::path& path, DWORD access, DWORD disposition, DWORD flags = 0) {
  return Handle(CreateFileW(systemName(path).c_str(), access, kShareAll, nullptr, disposition,
                            flags | kNoImpersonation, nullptr));
}

// Asks for no more than attributes, which also a file that its owner shares with nobody gives.
Handle openToExamine(const fs::path& path) {
  return open(path, FILE_READ_ATTRIBUTES, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS);
}

// Nothing for what is no file of a file system: a device, a pipe.
std::optional<BY_HANDLE_FILE_INFORMATION> informationOf(HANDLE file) {
  BY_HANDLE_FILE_INFORMATION information{};
  if (GetFileType(file) != FILE_TYPE_DISK || !GetFileInformationByHandle(file, &information)) {
    return std::nullopt;
  }
  return information;
}

bool describesDirectory(const BY_HANDLE_FILE_INFORMATION& information) {
  return (information.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::uint64_t joined(DWORD high, DWORD low) {
  return (std::uint64_t{high} << 32U) | low;
}

void createDirectories(fs::path directory) {
  constexpr const char* kWhat = "cannot create the directory";
  std::vector<fs::path> missing;
  while (!directory.empty() && !isDirectory(directory)) {
    missing.push_back(directory);
    if (directory == directory.parent_path()) break;  // a root that is not there
    directory = directory.parent_path();
  }
  for (; !missing.empty(); missing.pop_back()) {
    const auto& next = missing.back();
    if (CreateDirectoryW(systemName(next).c_str(), nullptr)) continue;
    const DWORD error = GetLastError();
    if (isDirectory(next)) continue;  // another process made it
    SetLastError(error);
    // The system would say that the file exists already, which helps nobody who reads it.
    if (error == ERROR_ALREADY_EXISTS) {
      throwError(std::make_error_code(std::errc::not_a_directory), kWhat, next);
    }
    throwLastError(kWhat, next);
  }
}

void writeAll(const Handle& file, std::string_view content, const fs::path& path) {
  while (!content.empty()) {
    const auto size = static_cast<DWORD>(std::min(content.size(), kMaxTransfer));
    DWORD written = 0;
    if (!WriteFile(file.get(), content.data(), size, &written, nullptr)) {
      throwLastError("cannot write", path);
    }
    content.remove_prefix(written);
  }
}

// Repeats `attempt` while it fails because somebody else has the file open. `attempt` gives true
// for a success. Gives false, with the error as the system's last one, when it still fails.
template <class Attempt>
bool patiently(const Attempt& attempt) {
  const auto deadline = steady_clock::now() + kPatience;
  while (!attempt()) {
    const DWORD error = GetLastError();
    const bool mayPass = error == ERROR_SHARING_VIOLATION || error == ERROR_LOCK_VIOLATION ||
                         error == ERROR_ACCESS_DENIED || error == ERROR_USER_MAPPED_FILE;
    if (!mayPass || steady_clock::now() >= deadline) {
      SetLastError(error);
      return false;
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  return true;
}

// A file or directory that nobody may write to. Waiting does not help.
bool refusesWrites(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0;
}

// Gives the new file the access list of another one. Some file systems have none, and a network
// share may forbid it; the file then has the list of its directory.
void copyPermissions(const fs::path& from, const fs::path& to) {
  constexpr SECURITY_INFORMATION kWhat = DACL_SECURITY_INFORMATION;
  const std::wstring source = systemName(from);
  DWORD size = 0;
  GetFileSecurityW(source.c_str(), kWhat, nullptr, 0, &size);
  std::vector<std::byte> descriptor(size);
  if (size != 0 && GetFileSecurityW(source.c_str(), kWhat, descriptor.data(), size, &size)) {
    SetFileSecurityW(systemName(to).c_str(), kWhat, descriptor.data());
  }
}

// A uniquely named empty file that is deleted again unless it was renamed to its target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target)
      : name_(temporaryName(target)), file_(open(name_, GENERIC_WRITE, CREATE_NEW)) {
    if (!file_.isOpen()) throwLastError("cannot create a temporary file for", target);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    file_.close();
    if (!renamed_) DeleteFileW(systemName(name_).c_str());
  }

  const fs::path& name() const { return name_; }
  const Handle& file() const { return file_; }

  void renameTo(const fs::path& target) {
    file_.close();
    const std::wstring from = systemName(name_);
    const std::wstring to = systemName(target);
    const auto move = [&] {
      return MoveFileExW(from.c_str(), to.c_str(),
                         MOVEFILE_REPLACE_EXISTING | MOVEFILE_WRITE_THROUGH) != 0;
    };
    renamed_ = refusesWrites(target) ? move() : patiently(move);
    if (!renamed_) throwLastError("cannot replace", target);
  }

 private:
  fs::path name_;
  Handle file_;
  bool renamed_ = false;
};

// Where an open file really stands; empty, with the system's last error set, on failure.
fs::path finalPath(const Handle& file) {
  constexpr std::size_t kMaxPath = 32768;  // characters
  std::wstring name(kMaxPath, L'\0');
  const DWORD size = GetFinalPathNameByHandleW(file.get(), name.data(),
                                               static_cast<DWORD>(name.size()), VOLUME_NAME_DOS);
  name.resize(size < name.size() ? size : 0);
  return name;
}

HANDLE toHandle(std::intptr_t number) {
  return reinterpret_cast<HANDLE>(number);  // NOLINT(performance-no-int-to-ptr): it was one
}
std::intptr_t toNumber(HANDLE handle) {
  return reinterpret_cast<std::intptr_t>(handle);
}

}  // namespace

FileKind fileKind(const fs::path& path) {
  const Handle file = openToExamine(path);
  if (!file.isOpen()) return FileKind::CannotExamine;
  const auto information = informationOf(file.get());
  return information && !describesDirectory(*information) ? FileKind::Regular : FileKind::Other;
}

bool isDirectory(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

fs::path canonicalPath(const fs::path& path, std::error_code& error) {
  error.clear();
  const Handle file = openToExamine(path);
  fs::path result;
  if (file.isOpen()) result = finalPath(file);
  if (result.empty()) error = lastSystemError();
  return result;
}

InputFile::InputFile(const fs::path& path)
    // A directory is opened as well, so that the error can say that it is one.
    : handle_(toNumber(open(path, GENERIC_READ, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN)
                           .release())) {
  if (toHandle(handle_) == INVALID_HANDLE_VALUE) {
    error_ = lastSystemError();
    return;
  }
  const auto information = informationOf(toHandle(handle_));
  if (!information) {
    error_ = std::make_error_code(std::errc::invalid_argument);
  } else if (describesDirectory(*information)) {
    error_ = std::make_error_code(std::errc::is_a_directory);
  } else {
    size_ = joined(information->nFileSizeHigh, information->nFileSizeLow);
  }
}

InputFile::InputFile(InputFile&& other) noexcept
    : error_(other.error_),
      size_(other.size_),
      handle_(std::exchange(other.handle_, toNumber(INVALID_HANDLE_VALUE))) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(error_, other.error_);
  std::swap(size_, other.size_);
  std::swap(handle_, other.handle_);
  return *this;
}

InputFile::~InputFile() {
  const Handle closed(toHandle(handle_));
}

std::size_t InputFile::read(std::span<char> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size() && !error_) {
    const auto size = static_cast<DWORD>(std::min(buffer.size() - filled, kMaxTransfer));
    DWORD count = 0;
    if (!ReadFile(toHandle(handle_), buffer.data() + filled, size, &count, nullptr)) {
      error_ = lastSystemError();
    } else if (count == 0) {
      break;
    }
    filled += count;
  }
  return filled;
}

bool isMissingFile(std::error_code error) {
  if (error.category() != lastSystemError().category()) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
  }
  // Nothing can stand under a name that the system does not allow. A server or drive that does not
  // answer is not missing: what it holds is not known.
  constexpr std::array kMissing{ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                ERROR_DIRECTORY};
  return std::ranges::find(kMissing, error.value()) != kMissing.end();
}

std::vector<fs::path> listDirectory(const fs::path& directory, std::error_code& error) {
  error.clear();
  std::vector<fs::path> names;
  WIN32_FIND_DATAW entry{};
  HANDLE search = FindFirstFileExW(systemName(directory / "*").c_str(), FindExInfoBasic, &entry,
                                   FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (search == INVALID_HANDLE_VALUE) {
    error = lastSystemError();
    if (error.value() == ERROR_FILE_NOT_FOUND) error.clear();  // an empty root directory
    return names;
  }
  do {
    const std::wstring_view name(static_cast<const wchar_t*>(entry.cFileName));
    if (name != L"." && name != L"..") names.emplace_back(name);
  } while (FindNextFileW(search, &entry));
  if (GetLastError() != ERROR_NO_MORE_FILES) error = lastSystemError();
  FindClose(search);
  if (error) names.clear();
  std::ranges::sort(names, {}, [](const auto& name) { return pathToText(name); });
  return names;
}

fs::path writeTarget(fs::path path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    return path;
  }
  const Handle file = openToExamine(path);
  fs::path target;
  if (file.isOpen()) target = finalPath(file);
  // A link to a file that does not exist yet is not followed: replacing it would lose the link.
  if (target.empty()) throwLastError("cannot follow", path);
  return target;
}

void replaceFile(const fs::path& target, std::string_view content, const fs::path& model) {
  const fs::path file = writeTarget(target);
  createDirectories(file.parent_path());
  TemporaryFile temporary(file);
  copyPermissions(model, temporary.name());
  writeAll(temporary.file(), content, file);
  if (!FlushFileBuffers(temporary.file().get())) throwLastError("cannot sync", file);
  temporary.renameTo(file);
}

FileIdentity fileIdentity(const fs::path& path) {
  const Handle file = openToExamine(path);
  const auto information = file.isOpen() ? informationOf(file.get()) : std::nullopt;
  if (!information) return {};
  constexpr std::int64_t kTicksBefore1970 = 116'444'736'000'000'000;  // the system's begin in 1601
  constexpr std::int64_t kNanosecondsPerTick = 100;
  const auto& written = information->ftLastWriteTime;
  const auto ticks =
      static_cast<std::int64_t>(joined(written.dwHighDateTime, written.dwLowDateTime));
  return {.device = information->dwVolumeSerialNumber,
          .number = joined(information->nFileIndexHigh, information->nFileIndexLow),
          .size = joined(information->nFileSizeHigh, information->nFileSizeLow),
          .modified = (ticks - kTicksBefore1970) * kNanosecondsPerTick};
}

void appendToFile(const fs::path& path, std::string_view content) {
  createDirectories(path.parent_path());
  Handle file(INVALID_HANDLE_VALUE);
  const auto openForWriting = [&] {
    Handle opened = open(path, GENERIC_WRITE, OPEN_ALWAYS);
    const bool isOpen = opened.isOpen();
    if (isOpen) file.reset(opened.release());
    return isOpen;
  };
  LARGE_INTEGER end{};
  if (!(refusesWrites(path) ? openForWriting() : patiently(openForWriting)) ||
      !SetFilePointerEx(file.get(), {}, &end, FILE_END)) {
    throwLastError("cannot open", path);
  }
  try {
    writeAll(file, content, path);
    if (!FlushFileBuffers(file.get())) throwLastError("cannot sync", path);
  } catch (const std::system_error&) {
    if (SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN)) SetEndOfFile(file.get());
    throw;
  }
}

std::error_code removeFile(const fs::path& path) {
  if (DeleteFileW(systemName(path).c_str())) return {};
  const auto error = lastSystemError();
  return isMissingFile(error) ? std::error_code() : error;
}

FileLock::FileLock(const fs::path& lockPath, milliseconds wait) {
  createDirectories(lockPath.parent_path());
  constexpr DWORD kNoLinks = FILE_FLAG_OPEN_REPARSE_POINT;
  Handle file = open(lockPath, GENERIC_READ | GENERIC_WRITE, OPEN_ALWAYS, kNoLinks);
  if (!file.isOpen() && GetLastError() == ERROR_ACCESS_DENIED) {
    // Another account made it, and reading is enough.
    file.reset(open(lockPath, GENERIC_READ, OPEN_EXISTING, kNoLinks).release());
  }
  if (!file.isOpen()) throwLastError("cannot create the lock file", lockPath);
  const auto deadline = steady_clock::now() + wait;
  OVERLAPPED firstByte{};
  while (!LockFileEx(file.get(), LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY, 0, 1, 0,
                     &firstByte)) {
    const DWORD error = GetLastError();
    if (error != ERROR_LOCK_VIOLATION && error != ERROR_IO_PENDING) {
      throwLastError("cannot lock", lockPath);
    }
    if (steady_clock::now() >= deadline) {
      throwError(std::make_error_code(std::errc::timed_out), "another process holds the lock",
                 lockPath);
    }
    std::this_thread::sleep_for(kPollInterval);
  }
  handle_ = toNumber(file.release());
}

FileLock::~FileLock() {
  const Handle closed(toHandle(handle_));
}

}  // namespace sourcetype
