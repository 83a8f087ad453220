// Writes that leave the old file or the new one, also after a crash. What fails throws
// std::system_error that names the path.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace sourcetype {

class FileLock;

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
