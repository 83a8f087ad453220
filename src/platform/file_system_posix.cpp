#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <thread>
#include <utility>

#include "platform/path_form.h"
#include "platform/system_error.h"

namespace sourcetype {
namespace {

// No file is that large; a read or write of more than 2 GiB is cut short by the kernel.
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;

constexpr std::chrono::milliseconds kLockPollInterval{10};

constexpr mode_t kNewFileMode = 0644;  // configuration is for every account of the server

[[noreturn]] void throwLastError(const std::string& what, const std::filesystem::path& path) {
  throw std::system_error(lastSystemError(), what + " " + pathToText(path));
}

// A file descriptor that closes itself; -1 means closed.
class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() {
    if (number_ >= 0) ::close(number_);
  }
  int number() const { return number_; }
  bool isOpen() const { return number_ >= 0; }
  int release() { return std::exchange(number_, -1); }

 private:
  int number_;
};

int openRetrying(const char* path, int flags, mode_t mode = 0) {
  int number = -1;
  do {
    number = ::open(path, flags | O_CLOEXEC, mode);
  } while (number < 0 && errno == EINTR);
  return number;
}

void writeAll(const Descriptor& file, std::string_view content, const std::filesystem::path& path) {
  while (!content.empty()) {
    const ssize_t written =
        ::write(file.number(), content.data(), std::min(content.size(), kMaxTransfer));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throwLastError("cannot write", path);
    content.remove_prefix(static_cast<std::size_t>(written));
  }
}

// Makes a rename in `directory` last through a crash. Some file systems cannot sync a directory;
// the rename itself has happened by then, so that is not an error of the write.
void syncDirectory(const std::filesystem::path& directory) {
  const Descriptor handle(openRetrying(directory.c_str(), O_RDONLY | O_DIRECTORY));
  if (handle.isOpen()) ::fsync(handle.number());
}

// Gives the new file the owner and permissions of the one it is going to replace.
void copyPermissions(const Descriptor& from, const Descriptor& to) {
  struct stat status {};
  if (!from.isOpen() || ::fstat(from.number(), &status) != 0) return;
  // Only root may give files away. Where not even the group can be kept, its rights are not for
  // whatever group the file has instead.
  constexpr auto kSameOwner = static_cast<uid_t>(-1);
  constexpr mode_t kGroupRights = 070;
  mode_t mode = status.st_mode & 0777U;
  if (::fchown(to.number(), status.st_uid, status.st_gid) != 0 &&
      ::fchown(to.number(), kSameOwner, status.st_gid) != 0) {
    mode &= ~kGroupRights;
  }
  ::fchmod(to.number(), mode);
}

// A uniquely named empty file that is deleted again unless it was renamed to its target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : name_(target.native() + ".XXXXXX.tmp"), file_(::mkostemps(name_.data(), 4, O_CLOEXEC)) {
    if (!file_.isOpen()) throwLastError("cannot create a temporary file for", target);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!renamed_) ::unlink(name_.c_str());
  }

  const Descriptor& file() const { return file_; }

  void renameTo(const std::filesystem::path& target) {
    if (::rename(name_.c_str(), target.c_str()) != 0) throwLastError("cannot replace", target);
    renamed_ = true;
  }

 private:
  std::string name_;
  Descriptor file_;
  bool renamed_ = false;
};

}  // namespace

FileKind fileKind(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return FileKind::CannotExamine;
  return S_ISREG(status.st_mode) ? FileKind::Regular : FileKind::Other;
}

bool isDirectory(const std::filesystem::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

std::filesystem::path canonicalPath(const std::filesystem::path& path, std::error_code& error) {
  return std::filesystem::canonical(path, error);
}

InputFile::InputFile(const std::filesystem::path& path)
    // Without O_NONBLOCK, opening a FIFO would wait for a writer.
    : handle_(openRetrying(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY)) {
  struct stat status {};
  if (handle_ < 0 || ::fstat(static_cast<int>(handle_), &status) != 0) {
    error_ = lastSystemError();
  } else if (!S_ISREG(status.st_mode)) {
    error_ = {S_ISDIR(status.st_mode) ? EISDIR : EINVAL, std::system_category()};
  } else {
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
}

InputFile::InputFile(InputFile&& other) noexcept
    : error_(other.error_), size_(other.size_), handle_(std::exchange(other.handle_, -1)) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(error_, other.error_);
  std::swap(size_, other.size_);
  std::swap(handle_, other.handle_);
  return *this;
}

InputFile::~InputFile() {
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

std::size_t InputFile::read(std::span<char> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size() && !error_) {
    const ssize_t count = ::read(static_cast<int>(handle_), buffer.data() + filled,
                                 std::min(buffer.size() - filled, kMaxTransfer));
    if (count == 0) break;
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      error_ = lastSystemError();
    }
  }
  return filled;
}

bool isMissingFile(std::error_code error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

std::vector<std::filesystem::path> listDirectory(const std::filesystem::path& directory,
                                                 std::error_code& error) {
  std::vector<std::filesystem::path> names;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    names.push_back(entry->path().filename());
  }
  std::ranges::sort(
      names, {}, [](const auto& name) -> const auto& { return name.native(); });
  return names;
}

std::filesystem::path writeTarget(std::filesystem::path path) {
  constexpr int kMaxLinks = 40;  // as many as the kernel follows
  std::error_code error;
  for (int followed = 0; std::filesystem::is_symlink(path, error); ++followed) {
    if (followed == kMaxLinks) {
      errno = ELOOP;
      throwLastError("cannot follow", path);
    }
    path = path.parent_path() / std::filesystem::read_symlink(path);
  }
  return path;
}

void replaceFile(const std::filesystem::path& target, std::string_view content) {
  const std::filesystem::path file = writeTarget(target);
  const std::filesystem::path directory = file.parent_path();
  if (!directory.empty()) std::filesystem::create_directories(directory);
  TemporaryFile temporary(file);
  const Descriptor old(openRetrying(file.c_str(), O_RDONLY | O_NONBLOCK));
  if (old.isOpen()) {
    copyPermissions(old, temporary.file());
  } else {
    ::fchmod(temporary.file().number(), kNewFileMode);
  }
  writeAll(temporary.file(), content, file);
  if (::fsync(temporary.file().number()) != 0) throwLastError("cannot sync", file);
  temporary.renameTo(file);
  syncDirectory(directory.empty() ? "." : directory);
}

FileIdentity fileIdentity(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  return {.device = status.st_dev,
          .number = status.st_ino,
          .size = static_cast<std::uint64_t>(status.st_size),
          .modified = status.st_mtim.tv_sec * kNanosecondsPerSecond + status.st_mtim.tv_nsec};
}

void appendToFile(const std::filesystem::path& path, std::string_view content) {
  if (path.has_parent_path()) std::filesystem::create_directories(path.parent_path());
  const Descriptor file(openRetrying(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, kNewFileMode));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.number(), &status) != 0) throwLastError("cannot open", path);
  try {
    writeAll(file, content, path);
    if (::fsync(file.number()) != 0) throwLastError("cannot sync", path);
  } catch (const std::system_error&) {
    [[maybe_unused]] const int undone = ::ftruncate(file.number(), status.st_size);
    throw;
  }
}

std::error_code removeFile(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) == 0 || errno == ENOENT) return {};
  return lastSystemError();
}

FileLock::FileLock(const std::filesystem::path& lockPath, std::chrono::milliseconds wait) {
  std::filesystem::create_directories(lockPath.parent_path());
  constexpr mode_t kLockFileMode = 0644;
  int number = openRetrying(lockPath.c_str(), O_RDWR | O_CREAT | O_NOFOLLOW, kLockFileMode);
  if (number < 0 && errno == EACCES) {  // another account made it, and reading is enough
    number = openRetrying(lockPath.c_str(), O_RDONLY | O_NOFOLLOW);
  }
  Descriptor file(number);
  if (!file.isOpen()) throwLastError("cannot create the lock file", lockPath);
  const auto deadline = std::chrono::steady_clock::now() + wait;
  while (::flock(file.number(), LOCK_EX | LOCK_NB) != 0) {
    const bool mayWait = errno == EINTR || errno == EWOULDBLOCK;
    if (!mayWait) throwLastError("cannot lock", lockPath);
    if (std::chrono::steady_clock::now() >= deadline) {
      errno = ETIMEDOUT;
      throwLastError("another process holds the lock", lockPath);
    }
    std::this_thread::sleep_for(kLockPollInterval);
  }
  handle_ = file.release();
}

FileLock::~FileLock() {
  ::close(static_cast<int>(handle_));
}

}  // namespace sourcetype
