#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <thread>
#include <utility>

#include "platform/file_attributes_posix.h"
#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/temporary_name.h"

namespace sourcetype {
namespace {

// No file is that large; a read or write of more than 2 GiB is cut short by the kernel.
constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;

constexpr std::chrono::milliseconds kLockPollInterval{10};

// Longer than an account takes to share a lock file that it has made.
constexpr int kTriesToOpenLock = 10;

constexpr mode_t kOwnerOnly = 0600;
constexpr mode_t kNewFileMode = 0666;  // less what the account's umask takes away

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

// Calls again as long as a signal was what came between.
template <class Call>
int retrying(const Call& call) {
  int result = -1;
  do {
    result = call();
  } while (result < 0 && errno == EINTR);
  return result;
}

int openRetrying(const char* path, int flags, mode_t mode = 0) {
  return retrying([&] { return ::open(path, flags | O_CLOEXEC, mode); });
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

void sync(const Descriptor& file, const std::filesystem::path& path) {
  if (retrying([&] { return ::fsync(file.number()); }) != 0) throwLastError("cannot sync", path);
}

// Makes a new name in `directory` last through a crash. Some file systems cannot sync a directory;
// the name itself is there by then, so that is not an error of the write.
void syncDirectory(const std::filesystem::path& directory) {
  const Descriptor handle(openRetrying(directory.c_str(), O_RDONLY | O_DIRECTORY));
  if (handle.isOpen()) ::fsync(handle.number());
}

// Gives a file the attributes of the file `model`, or those of a new file at `path` where there is
// no model.
void setAttributes(const Descriptor& file, const std::filesystem::path& path,
                   const std::filesystem::path& model) {
  const Descriptor old(openRetrying(model.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (old.isOpen()) {
    copyFileAttributes(old.number(), file.number(), model);
  } else if (errno == ENOENT) {
    setNewFileRights(file.number(), path);
  } else {
    throwLastError("cannot examine", model);
  }
}

// A uniquely named empty file that is deleted again unless it was renamed to its target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : name_(temporaryName(target)),
        file_(openRetrying(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kOwnerOnly)) {
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
  std::filesystem::path name_;
  Descriptor file_;
  bool renamed_ = false;
};

// Whether writes may go where a link at `path` leads: it is root's, this account's, or its
// directory's owner's. Another account that may write to the directory could have planted it.
bool mayRedirect(const struct stat& link, const std::filesystem::path& path) {
  struct stat directory {};
  if (::stat(directoryOf(path).c_str(), &directory) != 0) return false;
  return link.st_uid == 0 || link.st_uid == ::geteuid() || link.st_uid == directory.st_uid;
}

// Whoever may write to the directory may lock the files in it: several administrators share a tree,
// whatever their umasks. Others may not, or any reader could keep all writes waiting.
mode_t lockFileMode(const struct stat& directory) {
  constexpr mode_t kMayWrite = 0222;
  const mode_t writers = directory.st_mode & kMayWrite;
  return kOwnerOnly | writers | (writers << 1U);  // to read is one bit above to write
}

// Whether this account made the file as a lock file. Whoever may write to the directory could have
// linked or moved another file of the account's there, but a lock file has one name and no content.
bool isOwnLockFile(const struct stat& file) {
  return file.st_uid == ::geteuid() && file.st_nlink == 1 && file.st_size == 0;
}

// Opens a lock file, which it makes where there is none; closed, with errno set, on failure.
Descriptor openLockFile(const std::filesystem::path& path, mode_t mode) {
  constexpr int kNeverWait = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;  // whatever has the name
  Descriptor file(openRetrying(path.c_str(), O_RDWR | O_CREAT | kNeverWait, mode));
  if (file.isOpen() || errno != EACCES) return file;
  // Another account made it, and reading is enough. Who makes it shares it a moment later.
  for (int tries = 0; tries < kTriesToOpenLock; ++tries) {
    if (tries > 0) std::this_thread::sleep_for(kLockPollInterval);
    Descriptor readable(openRetrying(path.c_str(), O_RDONLY | kNeverWait));
    if (readable.isOpen()) return readable;
    if (errno != EACCES) break;  // there is none
  }
  errno = EACCES;  // none could be made
  return file;
}

// The lock file at `path`, to be locked by whoever may write to its directory.
Descriptor sharedLockFile(const std::filesystem::path& path) {
  struct stat directory {};
  ::stat(directoryOf(path).c_str(), &directory);
  Descriptor file = openLockFile(path, lockFileMode(directory));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.number(), &status) != 0) {
    throwLastError("cannot create the lock file", path);
  }
  if (!S_ISREG(status.st_mode)) {
    errno = EINVAL;
    throwLastError("will not lock what is no regular file", path);
  }
  if (isOwnLockFile(status)) shareLockFile(file.number(), directoryOf(path));
  return file;
}

// False when somebody deleted the file meanwhile: others lock a new one by that name.
bool isStillAt(const Descriptor& file, const std::filesystem::path& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(file.number(), &opened) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

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
  struct stat link {};
  for (int followed = 0; ::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode); ++followed) {
    if (followed == kMaxLinks) {
      errno = ELOOP;
      throwLastError("cannot follow", path);
    }
    if (!mayRedirect(link, path)) {
      errno = EPERM;
      throwLastError("will not follow somebody's link", path);
    }
    path = path.parent_path() / std::filesystem::read_symlink(path);
  }
  return path;
}

void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const std::filesystem::path& model) {
  const std::filesystem::path file = writeTarget(target);
  std::filesystem::create_directories(directoryOf(file));
  TemporaryFile temporary(file);
  writeAll(temporary.file(), content, file);
  setAttributes(temporary.file(), file, model);
  sync(temporary.file(), file);
  temporary.renameTo(file);
  syncDirectory(directoryOf(file));
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
  const std::filesystem::path target = writeTarget(path);
  std::filesystem::create_directories(directoryOf(target));
  const Descriptor file(
      openRetrying(target.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW, kNewFileMode));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.number(), &status) != 0) throwLastError("cannot open", target);
  try {
    writeAll(file, content, target);
    sync(file, target);
  } catch (const std::system_error&) {
    retrying([&] { return ::ftruncate(file.number(), status.st_size); });
    throw;
  }
  if (status.st_size == 0) syncDirectory(directoryOf(target));  // it may be new
}

std::error_code removeFile(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) == 0 || errno == ENOENT) return {};
  return lastSystemError();
}

FileLock::FileLock(const std::filesystem::path& lockPath, std::chrono::milliseconds wait) {
  std::filesystem::create_directories(directoryOf(lockPath));
  const auto deadline = std::chrono::steady_clock::now() + wait;
  while (true) {
    Descriptor file = sharedLockFile(lockPath);
    const bool isLocked = ::flock(file.number(), LOCK_EX | LOCK_NB) == 0;
    const bool mayWait = isLocked || errno == EINTR || errno == EWOULDBLOCK;
    if (!mayWait) throwLastError("cannot lock", lockPath);
    if (isLocked && isStillAt(file, lockPath)) {
      handle_ = file.release();
      return;
    }
    if (std::chrono::steady_clock::now() >= deadline) {
      errno = ETIMEDOUT;
      throwLastError("another process holds the lock", lockPath);
    }
    std::this_thread::sleep_for(kLockPollInterval);
  }
}

FileLock::~FileLock() {
  ::close(static_cast<int>(handle_));
}

}  // namespace sourcetype
