#include "platform/file_writing.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

#include "platform/descriptor_posix.h"
#include "platform/file_attributes_posix.h"
#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "platform/temporary_name.h"

namespace sourcetype {
namespace {

void writeAll(const Descriptor& file, std::string_view content, const std::filesystem::path& path) {
  while (!content.empty()) {
    const ssize_t written =
        ::write(file.number(), content.data(), std::min(content.size(), kMaxTransfer));
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throwLastError("cannot write", path);
    content.remove_prefix(static_cast<std::size_t>(written));
  }
}

void sync(const Descriptor& file, const std::filesystem::path& path) {
  if (retrying([&] { return ::fsync(file.number()); }) != 0) throwLastError("cannot sync", path);
}

// Writes the decisive byte of a text at `offset` of a file. Its placeholder must be there: a
// program that uses no lock may have changed the file.
void putByte(const Descriptor& file, off_t offset, const DecisiveText& text,
             const std::filesystem::path& path) {
  char present = 0;
  const auto size = retrying([&] { return ::pread(file.number(), &present, 1, offset); });
  if (size < 0) throwLastError("cannot read", path);
  if (size == 0 || present != text.placeholder) {
    throw LockLost(pathToText(path) + " was changed");
  }
  ::fcntl(file.number(), F_SETFL, 0);  // while it appends, some systems ignore the offset
  const char* const byte = &text.content[text.decisive];
  if (retrying([&] { return ::pwrite(file.number(), byte, 1, offset); }) != 1) {
    throwLastError("cannot write", path);
  }
}

// Gives a file the attributes of the file `model`. If there is no such file, the attributes of any
// new file in `directory`.
void setAttributes(const Descriptor& file, const std::filesystem::path& directory,
                   const std::filesystem::path& model) {
  const Descriptor old(openRetrying(model.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
  if (old.isOpen()) {
    copyFileAttributes(old.number(), file.number(), model);
  } else if (errno == ENOENT) {
    setNewFileRights(file.number(), directory);
  } else {
    throwLastError("cannot examine", model);
  }
}

// An empty file with a unique name. It is deleted again unless it is renamed to its target.
class TemporaryFile {
 public:
  explicit TemporaryFile(const std::filesystem::path& target)
      : name_(temporaryName(target)),
        file_(openRetrying(name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW, kOwnerOnly)) {
    if (!file_.isOpen()) throwLastError("cannot create a temporary file for", target);
  }
  TemporaryFile(const TemporaryFile&) = delete;
  TemporaryFile& operator=(const TemporaryFile&) = delete;
  ~TemporaryFile() {
    if (!renamed_) ::unlink(name_.c_str());
  }

  const Descriptor& file() const { return file_; }

  void renameTo(const std::filesystem::path& target) {
    if (::rename(name_.c_str(), target.c_str()) != 0) throwLastError("cannot replace", target);
    renamed_ = true;
  }

 private:
  std::filesystem::path name_;
  Descriptor file_;
  bool renamed_ = false;
};

// Whether a write may follow the link at `path`: its owner is root, this account or the owner of
// its directory. Any other account that may write to the directory could have created it.
bool mayRedirect(const struct stat& link, const std::filesystem::path& path) {
  struct stat directory {};
  if (::stat(directoryOf(path).c_str(), &directory) != 0) return false;
  return link.st_uid == 0 || link.st_uid == ::geteuid() || link.st_uid == directory.st_uid;
}

}  // namespace

std::filesystem::path writeTarget(std::filesystem::path path) {
  constexpr int kMaxLinks = 40;  // as many as the kernel follows
  struct stat link {};
  for (int followed = 0; ::lstat(path.c_str(), &link) == 0 && S_ISLNK(link.st_mode); ++followed) {
    if (followed == kMaxLinks) {
      errno = ELOOP;
      throwLastError("cannot follow", path);
    }
    if (!mayRedirect(link, path)) {
      errno = EPERM;
      throwLastError("will not follow somebody's link", path);
    }
    path = path.parent_path() / std::filesystem::read_symlink(path);
  }
  return path;
}

void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const std::filesystem::path& model, const FileLock* lock) {
  const std::filesystem::path file = writeTarget(target);
  const std::filesystem::path directory = directoryOf(file);
  createDirectories(directory);
  TemporaryFile temporary(file);
  writeAll(temporary.file(), content, file);
  setAttributes(temporary.file(), directory, model);
  sync(temporary.file(), file);
  if (lock != nullptr) lock->ensureHeld();
  temporary.renameTo(file);
  syncDirectory(directory);
}

void appendToFile(const std::filesystem::path& path, std::string_view content) {
  const std::filesystem::path target = writeTarget(path);
  createDirectories(directoryOf(target));
  const Descriptor file(
      openRetrying(target.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_NOFOLLOW, kNewFileMode));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.number(), &status) != 0) throwLastError("cannot open", target);
  if (status.st_nlink > 1) {
    errno = EMLINK;
    throwLastError("will not append to a file with several names (hard links):", target);
  }
  try {
    writeAll(file, content, target);
    sync(file, target);
  } catch (const std::system_error&) {
    retrying([&] { return ::ftruncate(file.number(), status.st_size); });
    throw;
  }
  if (status.st_size == 0) syncDirectory(directoryOf(target));  // it may be new
}

bool appendToFile(const std::filesystem::path& path, const DecisiveText& text,
                  const FileLock& lock) {
  const std::filesystem::path target = writeTarget(path);
  const Descriptor file(openRetrying(target.c_str(), O_RDWR | O_APPEND | O_NOFOLLOW));
  struct stat status {};
  if (!file.isOpen() || ::fstat(file.number(), &status) != 0 || status.st_nlink > 1) return false;
  lock.ensureHeld();
  try {
    writeAll(file, text.undecided(), target);
    sync(file, target);
    lock.ensureHeld();
    putByte(file, status.st_size + static_cast<off_t>(text.decisive), text, target);
    sync(file, target);
  } catch (const std::system_error&) {
    retrying([&] { return ::ftruncate(file.number(), status.st_size); });
    throw;
  }
  if (!isFileAt(file.number(), target)) throw LockLost(pathToText(target) + " was replaced");
  return true;
}

void cutFile(const std::filesystem::path& path, std::uint64_t size) {
  const std::filesystem::path target = writeTarget(path);
  const Descriptor file(openRetrying(target.c_str(), O_WRONLY | O_NOFOLLOW));
  if (!file.isOpen()) throwLastError("cannot open", target);
  if (retrying([&] { return ::ftruncate(file.number(), static_cast<off_t>(size)); }) != 0) {
    throwLastError("cannot cut", target);
  }
  sync(file, target);
}

std::error_code removeFile(const std::filesystem::path& path) {
  if (::unlink(path.c_str()) == 0 || errno == ENOENT) return {};
  return lastSystemError();
}

}  // namespace sourcetype
