// The file behind a FileLock: what differs between systems.
#pragma once

#include <cstdint>
#include <filesystem>
#include <system_error>

namespace sourcetype {

// One uninterrupted hold of a lock. All zero when the system does not tell who has it.
struct LockHolder {
  std::uint64_t process = 0;
  std::uint64_t since = 0;  // a clock of the machine, in no particular unit

  friend bool operator==(const LockHolder&, const LockHolder&) = default;
};

// Open for the life of the object, which also ends a hold.
class LockFile {
 public:
  // Creates the file where it is missing. Throws std::system_error.
  explicit LockFile(const std::filesystem::path& path);
  LockFile(const LockFile&) = delete;
  LockFile& operator=(const LockFile&) = delete;
  ~LockFile();

  // Takes the lock, in line behind those who wait already, or gives an error. May be called from a
  // thread of its own while others call holder() and isInPlace().
  std::error_code lock() const;
  // The same without waiting; std::errc::resource_unavailable_try_again when the lock is taken.
  std::error_code tryLock() const;

  // Tells the others that this process holds the lock, and since when.
  void announce() const;
  // What the present holder announced; of another process only.
  LockHolder holder() const;

  // False when somebody deleted the file: others lock a new one by that name.
  bool isInPlace() const;

 private:
  std::filesystem::path path_;
  std::intptr_t handle_;
};

}  // namespace sourcetype
