#include "platform/file_system.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <optional>
#include <thread>
#include <utility>

#include "platform/file_lock.h"
#include "platform/handle_windows.h"
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

constexpr milliseconds kPollInterval{10};

// How long a write waits for somebody who has the file open: a reader, or a virus scanner, which
// opens whatever was written.
constexpr milliseconds kMaxWait{2000};

// Others may read, write, rename and delete what this program has open.
constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

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

void sync(const Handle& file, const fs::path& path) {
  if (!FlushFileBuffers(file.get())) throwLastError("cannot sync", path);
}

bool cutAt(const Handle& file, LARGE_INTEGER end) {
  return SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN) && SetEndOfFile(file.get());
}

bool hasSeveralNames(const Handle& file) {
  const auto information = informationOf(file.get());
  return information && information->nNumberOfLinks > 1;
}

FileIdentity identityOf(const BY_HANDLE_FILE_INFORMATION& information) {
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

// Repeats `attempt` while it fails because somebody else has the file open. `attempt` gives true
// for a success. Gives false, with the error as the system's last one, when it still fails.
template <class Attempt>
bool patiently(const Attempt& attempt) {
  const auto deadline = steady_clock::now() + kMaxWait;
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

// Waits for those who have the file open; not open, with the system's last error set, on failure.
Handle openToWrite(const fs::path& path, DWORD disposition) {
  Handle file(INVALID_HANDLE_VALUE);
  const auto attempt = [&] {
    file.reset(open(path, GENERIC_WRITE, disposition).release());
    return file.isOpen();
  };
  if (refusesWrites(path)) {
    attempt();
  } else {
    patiently(attempt);
  }
  return file;
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

void createDirectories(const fs::path& wanted) {
  constexpr const char* kWhat = "cannot create the directory";
  fs::path directory = wanted;
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

void replaceFile(const fs::path& target, std::string_view content, const fs::path& model,
                 const FileLock* lock) {
  const fs::path file = writeTarget(target);
  createDirectories(file.parent_path());
  TemporaryFile temporary(file);
  copyPermissions(model, temporary.name());
  writeAll(temporary.file(), content, file);
  sync(temporary.file(), file);
  if (lock != nullptr) lock->ensureHeld();
  temporary.renameTo(file);
}

FileIdentity fileIdentity(const fs::path& path) {
  const Handle file = openToExamine(path);
  const auto information = file.isOpen() ? informationOf(file.get()) : std::nullopt;
  if (!information) return {};
  return identityOf(*information);
}

void appendToFile(const fs::path& path, std::string_view content) {
  createDirectories(path.parent_path());
  const Handle file = openToWrite(path, OPEN_ALWAYS);
  LARGE_INTEGER end{};
  if (!file.isOpen() || !SetFilePointerEx(file.get(), {}, &end, FILE_END)) {
    throwLastError("cannot open", path);
  }
  if (hasSeveralNames(file)) {
    throwError(std::make_error_code(std::errc::too_many_links),
               "will not append to a file with several names (hard links):", path);
  }
  try {
    writeAll(file, content, path);
    sync(file, path);
  } catch (const std::system_error&) {
    cutAt(file, end);
    throw;
  }
}

bool appendToFile(const fs::path& path, const DecisiveText& text, const FileLock& lock) {
  const fs::path target = writeTarget(path);
  const Handle file = openToWrite(target, OPEN_EXISTING);
  LARGE_INTEGER end{};
  if (!file.isOpen() || hasSeveralNames(file) ||
      !SetFilePointerEx(file.get(), {}, &end, FILE_END)) {
    return false;
  }
  lock.ensureHeld();
  try {
    writeAll(file, text.undecided(), target);
    sync(file, target);
    LARGE_INTEGER decisive = end;
    decisive.QuadPart += static_cast<LONGLONG>(text.decisive);
    if (!SetFilePointerEx(file.get(), decisive, nullptr, FILE_BEGIN)) {
      throwLastError("cannot write", target);
    }
    writeAll(file, std::string_view(text.content).substr(text.decisive, 1), target);
    sync(file, target);
  } catch (const std::system_error&) {
    cutAt(file, end);
    throw;
  }
  const auto opened = informationOf(file.get());
  if (!opened || identityOf(*opened) != fileIdentity(target)) {
    throw LockLost(pathToText(target) + " was replaced");
  }
  return true;
}

void cutFile(const fs::path& path, std::uint64_t size) {
  const fs::path target = writeTarget(path);
  const Handle file = openToWrite(target, OPEN_EXISTING);
  LARGE_INTEGER end{};
  end.QuadPart = static_cast<LONGLONG>(size);
  if (!file.isOpen() || !cutAt(file, end)) throwLastError("cannot cut", target);
  sync(file, target);
}

std::error_code removeFile(const fs::path& path) {
  if (DeleteFileW(systemName(path).c_str())) return {};
  const auto error = lastSystemError();
  return isMissingFile(error) ? std::error_code() : error;
}

}  // namespace sourcetype
