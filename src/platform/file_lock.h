// A lock between processes.
#pragma once

#include <chrono>
#include <filesystem>
#include <memory>
#include <stdexcept>

namespace sourcetype {

class LockFile;

// Somebody deleted the file of a lock, or the locked file was replaced: another process may be
// writing now. The caller takes the lock anew and decides again.
class LockLost : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// An exclusive lock between processes, held for the life of the object. It locks a file of its own
// at `lockPath`, which is created and stays, empty but for a note on Windows; the system frees the
// lock of a process that died. Whoever may write to its directory may hold the lock, whichever
// account created the file; nobody else may, unless that account could not give the file to the
// directory's owner or group.
class FileLock {
 public:
  // Waits in line as long as the lock changes hands. Throws std::system_error: std::errc::timed_out
  // when one holder has kept the lock for `maxWait`, with that process in the text where the
  // system tells it.
  FileLock(const std::filesystem::path& lockPath, std::chrono::milliseconds maxWait);
  FileLock(const FileLock&) = delete;
  FileLock& operator=(const FileLock&) = delete;
  ~FileLock();

  // Throws LockLost when the lock's path no longer leads to the file that is locked, so that others
  // lock another one. To be called just before what the lock protects is changed.
  void ensureHeld() const;

 private:
  std::filesystem::path path_;
  std::shared_ptr<LockFile> file_;
};

}  // namespace sourcetype
