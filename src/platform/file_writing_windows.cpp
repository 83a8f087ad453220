#include "platform/file_writing.h"

#include <algorithm>
#include <chrono>
#include <thread>
#include <vector>

#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/handle_windows.h"
#include "platform/open_file_windows.h"
#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/temporary_name.h"
#include "platform/windows_api.h"

namespace sourcetype {
namespace {

namespace fs = std::filesystem;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr milliseconds kPollInterval{10};

// How long a write waits while another program has the file open: a reader, or a virus scanner,
// which opens every written file.
constexpr milliseconds kMaxWait{2000};

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

// Repeats `attempt`, which returns true on success, while it fails because another program has the
// file open. Returns false, with the system's last error set, if it still fails after kMaxWait.
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

// True for a directory or a read-only file, for which waiting does not help.
bool refusesWrites(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES &&
         (attributes & (FILE_ATTRIBUTE_READONLY | FILE_ATTRIBUTE_DIRECTORY)) != 0;
}

// Waits while other programs have the file open. The result is not open, with the system's last
// error set, on failure.
Handle openToWrite(const fs::path& path, DWORD disposition) {
  Handle file(INVALID_HANDLE_VALUE);
  const auto attempt = [&] {
    file.reset(openFile(path, GENERIC_WRITE, disposition).release());
    return file.isOpen();
  };
  if (refusesWrites(path)) {
    attempt();
  } else {
    patiently(attempt);
  }
  return file;
}

// Gives a new file the access list of another file. If the file system has no lists, or a network
// share forbids it, the file keeps the list that it got from its directory.
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

// An empty file with a unique name. It is deleted again unless it is renamed to its target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const fs::path& target)
      : name_(temporaryName(target)), file_(openFile(name_, GENERIC_WRITE, CREATE_NEW)) {
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

}  // namespace

fs::path writeTarget(fs::path path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0) {
    return path;
  }
  const Handle file = openToExamine(path);
  fs::path target;
  if (file.isOpen()) target = finalPath(file);
  // A link to a file that does not exist yet cannot be followed; replacing it would lose the link.
  if (target.empty()) throwLastError("cannot follow", path);
  return target;
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
