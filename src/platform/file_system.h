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

// The kind of file at `path`. Symbolic links are followed.
FileKind fileKind(const std::filesystem::path& path);

// True for a directory. Symbolic links are followed. False also on errors.
bool isDirectory(const std::filesystem::path& path);

// What a walk through directories finds under a name.
enum class EntryKind {
  CannotExamine,
  File,           // a regular file, or a link to one
  Directory,
  DirectoryLink,  // a symbolic link or junction that leads to a directory
  Other,          // a FIFO, a socket, a device
};
EntryKind entryKind(const std::filesystem::path& path);

// The absolute path of the file at `path`, with all links resolved. Sets `error` if there is no
// file.
std::filesystem::path canonicalPath(const std::filesystem::path& path, std::error_code& error);

// `path` made absolute, for messages; unchanged if the working directory does not exist any more.
std::filesystem::path absolutePath(const std::filesystem::path& path);

// A regular file that is open for reading. Anything else (a directory, a FIFO, a device) is an
// error, and opening it never waits. Can be moved, not copied.
class InputFile {
 public:
  // Does not throw if the file cannot be opened: see error().
  explicit InputFile(const std::filesystem::path& path);
  InputFile(InputFile&& other) noexcept;
  InputFile& operator=(InputFile&& other) noexcept;
  InputFile(const InputFile&) = delete;
  InputFile& operator=(const InputFile&) = delete;
  ~InputFile();

  // Why the file could not be opened or read; false as a bool if there was no error.
  std::error_code error() const { return error_; }

  // Bytes when the file was opened. A hint: the file may grow or shrink while it is read.
  std::uint64_t size() const { return size_; }

  // Reads the next bytes into `buffer` and returns their count. A count below the size of the
  // buffer means the end of the file or an error().
  std::size_t read(std::span<char> buffer);

 private:
  std::error_code error_;
  std::uint64_t size_ = 0;
  std::intptr_t handle_;
};

// The content of a file, or the error that prevented reading it. `bytes` is empty on error.
struct FileBytes {
  std::unique_ptr<char[]> bytes;  // NOLINT(modernize-avoid-c-arrays): not zeroed before the read
  std::size_t size = 0;
  std::error_code error;

  std::string_view view() const { return {bytes.get(), size}; }
};
// Reads a whole file. The error is std::errc::file_too_large for a file of more than `maxBytes`,
// which is not read if the system tells its size.
FileBytes readFile(const std::filesystem::path& path, std::size_t maxBytes);

// True if the error means that there is no such file, false if the file cannot be read.
bool isMissingFile(std::error_code error);

// Creates a directory and its missing parents; they survive a crash. Throws std::system_error.
void createDirectories(const std::filesystem::path& directory);

// The path without its last name; "." for a path of one name.
std::filesystem::path directoryOf(const std::filesystem::path& path);

// The names in a directory without "." and "..", in ascending byte order. Empty, with `error` set,
// if the directory cannot be read.
std::vector<std::filesystem::path> listDirectory(const std::filesystem::path& directory,
                                                 std::error_code& error);

// All zero if there is no such file.
FileIdentity fileIdentity(const std::filesystem::path& path);

}  // namespace sourcetype
