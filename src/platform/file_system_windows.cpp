#include "platform/file_system.h"

#include <algorithm>
#include <array>
#include <utility>

#include "platform/handle_windows.h"
#include "platform/open_file_windows.h"
#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/windows_api.h"

namespace sourcetype {

namespace fs = std::filesystem;

FileKind fileKind(const fs::path& path) {
  const Handle file = openToExamine(path);
  if (!file.isOpen()) return FileKind::CannotExamine;
  const auto information = informationOf(file.get());
  return information && !describesDirectory(*information) ? FileKind::Regular : FileKind::Other;
}

bool isDirectory(const fs::path& path) {
  const DWORD attributes = GetFileAttributesW(systemName(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

EntryKind entryKind(const fs::path& path) {
  WIN32_FIND_DATAW entry{};
  HANDLE search = FindFirstFileW(systemName(path).c_str(), &entry);
  // The search finds no root directory.
  if (search == INVALID_HANDLE_VALUE) {
    return isDirectory(path) ? EntryKind::Directory : EntryKind::CannotExamine;
  }
  FindClose(search);
  if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
    const bool isLink = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 &&
                        IsReparseTagNameSurrogate(entry.dwReserved0);
    return isLink ? EntryKind::DirectoryLink : EntryKind::Directory;
  }
  switch (fileKind(path)) {
    case FileKind::Regular:
      return EntryKind::File;
    case FileKind::CannotExamine:
      return EntryKind::CannotExamine;
    case FileKind::Other:
      break;
  }
  return EntryKind::Other;
}

fs::path canonicalPath(const fs::path& path, std::error_code& error) {
  error.clear();
  const Handle file = openToExamine(path);
  fs::path result;
  if (file.isOpen()) result = finalPath(file);
  if (result.empty()) error = lastSystemError();
  return result;
}

InputFile::InputFile(const fs::path& path)
    // Directories are opened too, so that the error can say that the path is a directory.
    : handle_(toNumber(openFile(path, GENERIC_READ, OPEN_EXISTING,
                                FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_SEQUENTIAL_SCAN)
                           .release())) {
  if (toHandle(handle_) == INVALID_HANDLE_VALUE) {
    error_ = lastSystemError();
    return;
  }
  const auto information = informationOf(toHandle(handle_));
  if (!information) {
    error_ = std::make_error_code(std::errc::invalid_argument);
  } else if (describesDirectory(*information)) {
    error_ = std::make_error_code(std::errc::is_a_directory);
  } else {
    size_ = joined(information->nFileSizeHigh, information->nFileSizeLow);
  }
}

InputFile::InputFile(InputFile&& other) noexcept
    : error_(other.error_),
      size_(other.size_),
      handle_(std::exchange(other.handle_, toNumber(INVALID_HANDLE_VALUE))) {}

InputFile& InputFile::operator=(InputFile&& other) noexcept {
  std::swap(error_, other.error_);
  std::swap(size_, other.size_);
  std::swap(handle_, other.handle_);
  return *this;
}

InputFile::~InputFile() {
  const Handle closed(toHandle(handle_));
}

std::size_t InputFile::read(std::span<char> buffer) {
  std::size_t filled = 0;
  while (filled < buffer.size() && !error_) {
    const auto size = static_cast<DWORD>(std::min(buffer.size() - filled, kMaxTransfer));
    DWORD count = 0;
    if (!ReadFile(toHandle(handle_), buffer.data() + filled, size, &count, nullptr)) {
      error_ = lastSystemError();
    } else if (count == 0) {
      break;
    }
    filled += count;
  }
  return filled;
}

bool isMissingFile(std::error_code error) {
  if (error.category() != lastSystemError().category()) {
    return error == std::errc::no_such_file_or_directory || error == std::errc::not_a_directory;
  }
  // No file can have a name that the system does not allow. A server or drive that does not answer
  // is not missing: its content is not known.
  constexpr std::array kMissing{ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND, ERROR_INVALID_NAME,
                                ERROR_DIRECTORY};
  return std::ranges::find(kMissing, error.value()) != kMissing.end();
}

std::vector<fs::path> listDirectory(const fs::path& directory, std::error_code& error) {
  error.clear();
  std::vector<fs::path> names;
  WIN32_FIND_DATAW entry{};
  HANDLE search = FindFirstFileExW(systemName(directory / "*").c_str(), FindExInfoBasic, &entry,
                                   FindExSearchNameMatch, nullptr, FIND_FIRST_EX_LARGE_FETCH);
  if (search == INVALID_HANDLE_VALUE) {
    error = lastSystemError();
    if (error.value() == ERROR_FILE_NOT_FOUND) error.clear();  // an empty root directory
    return names;
  }
  do {
    const std::wstring_view name(static_cast<const wchar_t*>(entry.cFileName));
    if (name != L"." && name != L"..") names.emplace_back(name);
  } while (FindNextFileW(search, &entry));
  if (GetLastError() != ERROR_NO_MORE_FILES) error = lastSystemError();
  FindClose(search);
  if (error) names.clear();
  std::ranges::sort(names, {}, [](const auto& name) { return pathToText(name); });
  return names;
}

void createDirectories(const fs::path& directory) {
  constexpr const char* kWhat = "cannot create the directory";
  std::vector<fs::path> missing;
  for (fs::path next = directory; !next.empty() && !isDirectory(next); next = next.parent_path()) {
    missing.push_back(next);
    if (next == next.parent_path()) break;  // a root that is not there
  }
  for (; !missing.empty(); missing.pop_back()) {
    const auto& next = missing.back();
    if (CreateDirectoryW(systemName(next).c_str(), nullptr)) continue;
    const DWORD error = GetLastError();
    if (isDirectory(next)) continue;  // another process made it
    SetLastError(error);
    // The system's text, "the file exists already", would not help the reader.
    if (error == ERROR_ALREADY_EXISTS) {
      throwError(std::make_error_code(std::errc::not_a_directory), kWhat, next);
    }
    throwLastError(kWhat, next);
  }
}

FileIdentity fileIdentity(const fs::path& path) {
  const Handle file = openToExamine(path);
  const auto information = file.isOpen() ? informationOf(file.get()) : std::nullopt;
  if (!information) return {};
  return identityOf(*information);
}

}  // namespace sourcetype
