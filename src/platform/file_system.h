// All that the rest of the program asks of the file system. An everyday failure (a file that is not
// there) comes back as a std::error_code whose message() is the system's own text; a failed write
// throws std::system_error that names the path.
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

namespace sourcetype {

class FileLock;

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

// Where a write to `path` goes: symbolic links are followed, also one whose file does not exist
// yet (on Windows that throws). Throws std::system_error for links in a circle, and on POSIX for a
// link that is neither root's, nor this account's, nor its directory's owner's.
std::filesystem::path writeTarget(std::filesystem::path path);

// Replaces the content of `target` as one step: a reader sees the old bytes or the new ones, also
// after a crash. The content goes to a temporary file in the same directory, is synced and renamed.
// When `target` is a symbolic link the file it names is replaced. Permissions are kept, on POSIX
// systems with access lists and extended attributes; a new file has the permissions that the
// system gives new files there. Missing directories are made. Throws std::system_error, also where
// the permissions cannot be kept, and LockLost where `lock`, if there is one, is not held any more;
// the target is then unchanged.
void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const FileLock* lock = nullptr);
// The same with the owner, permissions and attributes of the file `model`, whether or not there was
// a target. On POSIX systems `model` must not be a link.
void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const std::filesystem::path& model, const FileLock* lock = nullptr);

// Deletes the temporary files that calls of replaceFile() for `target` left when they were killed.
// To be called, like replaceFile(), under the lock of `target`: whatever there is then is a
// leftover.
void removeLeftovers(const std::filesystem::path& target);

// Tells whether a file is the one it was: its place on the disk, its size and when it was written.
// Two different versions of a file never compare equal, unless somebody sets its times back.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::uint64_t size = 0;
  std::int64_t modified = 0;  // nanoseconds since 1970

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

// All zero when there is no such file.
FileIdentity fileIdentity(const std::filesystem::path& path);

// Adds `content` to the end of a file, which is made when it is missing, and syncs it. Throws
// std::system_error, also for a file with several names (hard links), which are not all meant; the
// file then has its old size again, or a part of `content` at its end where even that fails.
void appendToFile(const std::filesystem::path& path, std::string_view content);

// A text for the end of a file that readers must not accept before all of it is on the disk: until
// then `placeholder` replaces the byte at `decisive`.
struct DecisiveText {
  std::string content;
  std::size_t decisive = 0;
  char placeholder = ' ';

  std::string undecided() const {
    std::string text = content;
    text[decisive] = placeholder;
    return text;
  }
};

// Adds such a text to a file that is there: writes and syncs all of it with the placeholder, then
// the decisive byte. False, with nothing written, where only replaceFile() will do: the file has
// several names, or may not be written to. Throws std::system_error, and LockLost where `lock` is
// not held any more or the file was replaced; then, and after a crash, the end of the file may have
// a part of the text, with the placeholder.
bool appendToFile(const std::filesystem::path& path, const DecisiveText& text,
                  const FileLock& lock);

// Cuts the end off a file and syncs it. Throws std::system_error.
void cutFile(const std::filesystem::path& path, std::uint64_t size);

// Deletes a file. A file that is not there is no error.
std::error_code removeFile(const std::filesystem::path& path);

}  // namespace sourcetype
