// Writes files so that a crash leaves the old content or the new one. A failure throws
// std::system_error with the path in its text.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace sourcetype {

class FileLock;

// The file that a write to `path` changes: symbolic links are followed, also to a file that does
// not exist yet (on Windows that throws). Throws std::system_error for links in a circle, and on
// POSIX for a link whose owner is neither root, nor this account, nor the owner of its directory.
std::filesystem::path writeTarget(std::filesystem::path path);

// Replaces the content of `target` in one step: a reader sees the old bytes or the new ones, also
// after a crash. The content is written to a temporary file in the same directory, which is synced
// and renamed. If `target` is a symbolic link, the file it leads to is replaced. Keeps permissions,
// on POSIX systems also access lists and extended attributes; a new file gets the permissions of
// any new file there. Creates missing directories. Throws std::system_error, also if the
// permissions cannot be kept, and LockLost if `lock`, unless it is null, is not held any more; the
// target is then unchanged.
void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const FileLock* lock = nullptr);
// The same with the owner, permissions and attributes of the file `model` instead of the target's.
// On POSIX systems `model` must not be a link.
void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const std::filesystem::path& model, const FileLock* lock = nullptr);

// Deletes the temporary files of replaceFile() calls for `target` that were killed. To be called
// under the lock of `target`, like replaceFile(), since no temporary file is in use then.
void removeLeftovers(const std::filesystem::path& target);

// Adds `content` to the end of a file, which is created if it is missing, and syncs it. Throws
// std::system_error, also for a file with several names (hard links): a user of another name may
// not want the change. The file then has its old size again, or, if restoring fails, a part of
// `content` at its end.
void appendToFile(const std::filesystem::path& path, std::string_view content);

// A text for the end of a file that readers must not accept before all of it is on the disk. Until
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

// Adds such a text to an existing file: writes and syncs the text with the placeholder, then the
// decisive byte. Returns false, with nothing written, if the file has several names or may not be
// written to: then only replaceFile() is possible. Throws std::system_error, and LockLost if `lock`
// is not held any more or the file was replaced; then, and after a crash, the file may end in a
// part of the text with the placeholder.
bool appendToFile(const std::filesystem::path& path, const DecisiveText& text,
                  const FileLock& lock);

// Shortens a file to `size` bytes and syncs it. Throws std::system_error.
void cutFile(const std::filesystem::path& path, std::uint64_t size);

// Deletes a file. A missing file is not an error.
std::error_code removeFile(const std::filesystem::path& path);

}  // namespace sourcetype
