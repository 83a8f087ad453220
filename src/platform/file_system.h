// Files and directories as they are: what a path leads to, its bytes, its entries. An everyday
// failure (a missing file) is a std::error_code whose message() is the system's own text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/file_identity.h"

namespace sourcetype {

enum class FileKind { CannotExamine, Regular, Other };

// What stands at `path`, symbolic links followed.
FileKind fileKind(const std::filesystem::path& path);

// True for a directory, symbolic links followed; false also when that cannot be found out.
bool isDirectory(const std::filesystem::path& path);

// Where `path` leads, absolute and with every link followed; with `error` set when there is
// nothing.
std::filesystem::path canonicalPath(const std::filesystem::path& path, std::error_code& error);

// `path` from the root directory on, for messages; as it is where the working directory is gone.
std::filesystem::path absolutePath(const std::filesystem::path& path);

// A regular file opened for reading bytes. Anything else (a directory, a FIFO, a device) is refused
// and never waited for. Moves, does not copy.
class InputFile {
 public:
  // Never throws for the file's sake: ask error().
  explicit InputFile(const std::filesystem::path& path);
  InputFile(InputFile&& other) noexcept;
  InputFile& operator=(InputFile&& other) noexcept;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  // Why the file could not be opened or read; converts to false while all went well.
  std::error_code error() const { return error_; }

  // Bytes at the time of opening. A hint: the file may grow or shrink while it is read.
  std::uint64_t size() const { return size_; }

  // Fills `buffer` as far as the file goes. Fewer bytes than asked for, 0 included, mean the end of
  // the file or an error().
  std::size_t read(std::span<char> buffer);

 private:
  std::error_code error_;
  std::uint64_t size_ = 0;
  std::intptr_t handle_;
};

// The whole of a file, or why it cannot be had: std::errc::file_too_large where it has more than
// `mostBytes`, none of which is then read where the system tells the size. `bytes` is empty on
// error.
struct FileBytes {
  std::unique_ptr<char[]> bytes;  // NOLINT(modernize-avoid-c-arrays): not zeroed before the read
  std::size_t size = 0;
  std::error_code error;

  std::string_view view() const { return {bytes.get(), size}; }
};
FileBytes readFile(const std::filesystem::path& path, std::size_t mostBytes);

// True when the error says that there is no such file, as against one that cannot be read.
bool isMissingFile(std::error_code error);

// Makes a directory and those above it that are missing; they last through a crash. Throws
// std::system_error.
void createDirectories(const std::filesystem::path& directory);

// Where the last name of the path stands; "." where it has no other.
std::filesystem::path directoryOf(const std::filesystem::path& path);

// Names of the entries of a directory without "." and "..", in ascending byte order; empty with
// `error` set when it cannot be read.
std::vector<std::filesystem::path> listDirectory(const std::filesystem::path& directory,
                                                 std::error_code& error);

// All zero when there is no such file.
FileIdentity fileIdentity(const std::filesystem::path& path);

}  // namespace sourcetype
