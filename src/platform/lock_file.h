// The file of a FileLock: the part that differs between systems.
#pragma once

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace sourcetype {

// One uninterrupted hold of a lock. All zero if the system does not tell which process has it.
struct LockHolder {
  std::uint64_t process = 0;
  std::uint64_t since = 0;  // a clock of the machine, in no particular unit

  friend bool operator==(const LockHolder&, const LockHolder&) = default;
};

// The file is open during the life of the object. Closing it releases the lock.
class LockFile {
 public:
  // Creates the file if it is missing. Throws std::system_error.
  explicit LockFile(const std::filesystem::path& path);
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  ~LockFile();

  // Takes the lock after the processes that wait already, or returns an error. One thread may call
  // it while others call holder() and isInPlace().
  std::error_code lock() const;
  // The same without waiting; returns std::errc::resource_unavailable_try_again for a held lock.
  std::error_code tryLock() const;

  // Lets other processes see that this process holds the lock, and since when.
  void announce() const;
  // The announcement of the current holder, if it is another process.
  LockHolder holder() const;

  // False if the file was deleted: other processes then lock a new file of that name.
  bool isInPlace() const;

 private:
  std::filesystem::path path_;
  std::intptr_t handle_;
};

}  // namespace sourcetype
