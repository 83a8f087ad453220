// Descriptors of open files on POSIX systems. Included by *_posix.cpp only.
#pragma once

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/system_error.h"

namespace sourcetype {

inline constexpr mode_t kOwnerOnly = 0600;

// The account's umask removes some of these bits.
inline constexpr mode_t kNewFileMode = 0666;

// Bytes of one read or write. The kernel transfers at most 2 GiB in a call.
inline constexpr std::size_t kMaxTransfer = std::size_t{1} << 30;

[[noreturn]] inline void throwLastError(const std::string& what,
                                        const std::filesystem::path& path) {
  throwError(lastSystemError(), what, path);
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

// Repeats a call that a signal interrupted.
template <class Call>
auto retrying(const Call& call) {
  auto result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

inline int openRetrying(const char* path, int flags, mode_t mode = 0) {
  return retrying([&] { return ::open(path, flags | O_CLOEXEC, mode); });
}

// Whether `path` names the open file itself, and not another one or a link to it.
inline bool isFileAt(int file, const std::filesystem::path& path) {
  struct stat opened {};
  struct stat named {};
  return ::fstat(file, &opened) == 0 && ::lstat(path.c_str(), &named) == 0 &&
         opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

// Makes a new name in `directory` survive a crash. Some file systems cannot sync a directory. That
// is not an error of the write, since the name exists already.
inline void syncDirectory(const std::filesystem::path& directory) {
  const Descriptor handle(openRetrying(directory.c_str(), O_RDONLY | O_DIRECTORY));
  if (handle.isOpen()) ::fsync(handle.number());
}

}  // namespace sourcetype
