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

// Longer than an account takes to share a lock file that it has made.
constexpr int kTriesToOpenLock = 10;
constexpr std::chrono::milliseconds kOpenInterval{10};

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
    if (tries > 0) std::this_thread::sleep_for(kOpenInterval);
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

// A lock of the other kind that the system has, which tells everybody whose it is. It keeps nobody
// out: the holder has a shared one on one byte, at an offset that says since when.
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
  ::fcntl(static_cast<int>(handle_), F_SETLK, &note);  // where it fails, nobody is named
}

LockHolder LockFile::holder() const {
  struct flock note = noteOf(F_WRLCK, 0, 0);  // would anything be in the way of locking it all?
  if (::fcntl(static_cast<int>(handle_), F_GETLK, &note) != 0 || note.l_type == F_UNLCK) return {};
  return {.process = note.l_pid > 0 ? static_cast<std::uint64_t>(note.l_pid) : 0,
          .since = static_cast<std::uint64_t>(note.l_start)};
}

bool LockFile::isInPlace() const {
  return isFileAt(static_cast<int>(handle_), path_);
}

}  // namespace sourcetype
