#include "platform/lock_file.h"

#include <sys/file.h>

#include <chrono>
#include <limits>
#include <thread>

#include "platform/descriptor_posix.h"
#include "platform/file_attributes_posix.h"
#include "platform/file_system.h"

namespace sourcetype {
namespace {

// The tries take longer than an account needs to share a lock file that it created.
constexpr int kTriesToOpenLock = 10;
constexpr std::chrono::milliseconds kOpenInterval{10};

// Every account that may write to the directory may lock the files in it, since several
// administrators with different umasks may share a tree. Other accounts may not: any reader could
// block all writes.
mode_t lockFileMode(const struct stat& directory) {
  constexpr mode_t kMayWrite = 0222;
  const mode_t writers = directory.st_mode & kMayWrite;
  return kOwnerOnly | writers | (writers << 1U);  // r is w shifted left by one
}

// Whether this account created the file as a lock file. An account that may write to the directory
// could have linked or moved another file of this account to it, but a lock file has one name and
// no content.
bool isOwnLockFile(const struct stat& file) {
  return file.st_uid == ::geteuid() && file.st_nlink == 1 && file.st_size == 0;
}

// Opens a lock file and creates it if it is missing; closed, with errno set, on failure.
Descriptor openLockFile(const std::filesystem::path& path, mode_t mode) {
  constexpr int kNeverWait = O_NOFOLLOW | O_NONBLOCK | O_NOCTTY;  // it may be a FIFO or device
  Descriptor file(openRetrying(path.c_str(), O_RDWR | O_CREAT | kNeverWait, mode));
  if (file.isOpen() || errno != EACCES) return file;
  // Another account created it and shares it a moment later. Reading is enough to lock it.
  for (int tries = 0; tries < kTriesToOpenLock; ++tries) {
    if (tries > 0) std::this_thread::sleep_for(kOpenInterval);
    Descriptor readable(openRetrying(path.c_str(), O_RDONLY | kNeverWait));
    if (readable.isOpen()) return readable;
    if (errno != EACCES) break;  // the file is missing
  }
  errno = EACCES;  // it could not be created
  return file;
}

// Opens the lock file at `path` and lets every account lock it that may write to its directory.
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
    throwLastError("cannot lock, since it is not a regular file:", path);
  }
  if (isOwnLockFile(status)) shareLockFile(file.number(), directoryOf(path));
  return file;
}

// A note of the holder, in form of a record lock, the other kind of lock that the system has. Other
// processes can read its owner and its place. It blocks nobody: it is a shared lock on one byte,
// whose offset is the time since when the lock is held.
struct flock noteOf(short type, off_t start, off_t length) {
  struct flock note {};
  note.l_type = type;
  note.l_whence = SEEK_SET;
  note.l_start = start;
  note.l_len = length;
  return note;
}

}  // namespace

LockFile::LockFile(const std::filesystem::path& path)
    : path_(path), handle_(sharedLockFile(path).release()) {}

LockFile::~LockFile() {
  ::close(static_cast<int>(handle_));
}

std::error_code LockFile::lock() const {
  const int result = retrying([&] { return ::flock(static_cast<int>(handle_), LOCK_EX); });
  return result == 0 ? std::error_code() : lastSystemError();
}

std::error_code LockFile::tryLock() const {
  const int result =
      retrying([&] { return ::flock(static_cast<int>(handle_), LOCK_EX | LOCK_NB); });
  return result == 0 ? std::error_code() : lastSystemError();
}

void LockFile::announce() const {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  const auto offset = std::chrono::duration_cast<std::chrono::microseconds>(now).count() %
                      std::numeric_limits<off_t>::max();
  struct flock note = noteOf(F_RDLCK, static_cast<off_t>(offset), 1);
  ::fcntl(static_cast<int>(handle_), F_SETLK, &note);  // on failure messages name no process
}

LockHolder LockFile::holder() const {
  struct flock note = noteOf(F_WRLCK, 0, 0);  // asks for any note in the file
  if (::fcntl(static_cast<int>(handle_), F_GETLK, &note) != 0 || note.l_type == F_UNLCK) return {};
  return {.process = note.l_pid > 0 ? static_cast<std::uint64_t>(note.l_pid) : 0,
          .since = static_cast<std::uint64_t>(note.l_start)};
}

bool LockFile::isInPlace() const {
  return isFileAt(static_cast<int>(handle_), path_);
}

}  // namespace sourcetype
