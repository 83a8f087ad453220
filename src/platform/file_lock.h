// A lock between processes.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace sourcetype {

class LockFile;

// The file of a lock was deleted, or the file it protects was replaced: another process may be
// writing now. The caller takes the lock again and decides again.
class LockLost : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An exclusive lock between processes, held during the life of the object. It locks a file of its
// own at `lockPath`, which is created and not deleted. The file is empty, except for a note on
// Windows. The system releases the lock of a process that died. Every account that may write to the
// directory can take the lock, whichever account created the file. Other accounts cannot, unless
// the account that created the file could not give it to the owner or group of the directory.
class FileLock {
 public:
  // Locks nothing: for a file that other processes cannot see.
  FileLock() = default;
  // Waits in line as long as other processes take and release the lock. Throws std::system_error:
  // std::errc::timed_out if one process holds the lock for `maxHold`, with its number in the text
  // if the system tells it.
  FileLock(const std::filesystem::path& lockPath, std::chrono::milliseconds maxHold);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  // Throws LockLost if the lock's path does not lead to the locked file any more: other processes
  // then lock a new file. To be called just before the protected file is changed.
  void ensureHeld() const;

 private:
  std::filesystem::path path_;
  std::shared_ptr<LockFile> file_;  // null: locks nothing
};

}  // namespace sourcetype
