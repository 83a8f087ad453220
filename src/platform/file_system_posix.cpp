#include "platform/file_system.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

#include "platform/descriptor_posix.h"

namespace sourcetype {
namespace {

// The account's umask removes some of these bits.
constexpr mode_t kNewDirectoryMode = 0777;

}  // namespace

FileKind fileKind(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return FileKind::CannotExamine;
  return S_ISREG(status.st_mode) ? FileKind::Regular : FileKind::Other;
}

bool isDirectory(const std::filesystem::path& path) {
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

EntryKind entryKind(const std::filesystem::path& path) {
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) return EntryKind::CannotExamine;
  const bool isLink = S_ISLNK(status.st_mode);
  if (isLink && ::stat(path.c_str(), &status) != 0) return EntryKind::CannotExamine;
  if (S_ISREG(status.st_mode)) return EntryKind::File;
  if (!S_ISDIR(status.st_mode)) return EntryKind::Other;
  return isLink ? EntryKind::DirectoryLink : EntryKind::Directory;
}

std::filesystem::path canonicalPath(const std::filesystem::path& path, std::error_code& error) {
  return std::filesystem::canonical(path, error);
}

InputFile::InputFile(const std::filesystem::path& path)
    // Without O_NONBLOCK, opening a FIFO would wait for a writer.
    : handle_(openRetrying(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY)) {
  struct stat status {};
  if (handle_ < 0 || ::fstat(static_cast<int>(handle_), &status) != 0) {
    error_ = lastSystemError();
  } else if (!S_ISREG(status.st_mode)) {
    error_ = {S_ISDIR(status.st_mode) ? EISDIR : EINVAL, std::system_category()};
  } else {
    size_ = static_cast<std::uint64_t>(status.st_size);
  }
}

InputFile::InputFile(InputFile&& other) noexcept
    : error_(other.error_), size_(other.size_), handle_(std::exchange(other.handle_, -1)) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(error_, other.error_);
  std::swap(size_, other.size_);
  std::swap(handle_, other.handle_);
  return *this;
}

InputFile::~InputFile() {
  if (handle_ >= 0) ::close(static_cast<int>(handle_));
}

std::size_t InputFile::read(std::span<char> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size() && !error_) {
    const ssize_t count = ::read(static_cast<int>(handle_), buffer.data() + filled,
                                 std::min(buffer.size() - filled, kMaxTransfer));
    if (count == 0) break;
    if (count > 0) {
      filled += static_cast<std::size_t>(count);
    } else if (errno != EINTR) {
      error_ = lastSystemError();
    }
  }
  return filled;
}

bool isMissingFile(std::error_code error) {
  return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
}

std::vector<std::filesystem::path> listDirectory(const std::filesystem::path& directory,
                                                 std::error_code& error) {
  std::vector<std::filesystem::path> names;
  std::filesystem::directory_iterator entry(directory, error);
  for (; !error && entry != std::filesystem::directory_iterator(); entry.increment(error)) {
    names.push_back(entry->path().filename());
  }
  std::ranges::sort(
      names, {}, [](const auto& name) -> const auto& { return name.native(); });
  return names;
}

void createDirectories(const std::filesystem::path& directory) {
  if (isDirectory(directory)) return;
  const std::filesystem::path parent = directoryOf(directory);
  if (parent != directory) createDirectories(parent);
  if (::mkdir(directory.c_str(), kNewDirectoryMode) == 0) {
    syncDirectory(parent);
  } else if (errno != EEXIST || !isDirectory(directory)) {  // another process may have made it
    if (errno == EEXIST) errno = ENOTDIR;                   // a file has its name
    throwLastError("cannot create the directory", directory);
  }
}

FileIdentity fileIdentity(const std::filesystem::path& path) {
  struct stat status {};
  if (::stat(path.c_str(), &status) != 0) return {};
  constexpr std::int64_t kNanosecondsPerSecond = 1'000'000'000;
  return {.device = status.st_dev,
          .number = status.st_ino,
          .size = static_cast<std::uint64_t>(status.st_size),
          .modified = status.st_mtim.tv_sec * kNanosecondsPerSecond + status.st_mtim.tv_nsec};
}

}  // namespace sourcetype
