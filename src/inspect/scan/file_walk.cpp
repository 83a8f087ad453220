#include "inspect/scan/file_walk.h"

#include <algorithm>
#include <utility>

#include "platform/file_system.h"

namespace sourcetype {

using std::filesystem::path;

FileWalk::FileWalk(std::vector<path> roots) : roots_(std::move(roots)) {
  std::ranges::reverse(roots_);
}

std::optional<FileWalk::Found> FileWalk::next() {
  while (!levels_.empty() || !roots_.empty()) {
    if (levels_.empty()) {
      if (auto found = nextRoot()) return found;
      continue;
    }
    Level& level = levels_.back();
    if (level.names.empty()) {
      if (auto found = enterNextDirectory()) return found;
      continue;
    }
    const path name = std::move(level.names.back());
    level.names.pop_back();
    path entry = level.directory / name;
    switch (entryKind(entry)) {
      case EntryKind::File:
      case EntryKind::CannotExamine:  // opening it shows the system's error
        return Found{.path = std::move(entry), .error = {}};
      case EntryKind::Directory:
        level.directories.push_back(name);
        break;
      case EntryKind::DirectoryLink:
      case EntryKind::Other:
        break;
    }
  }
  return std::nullopt;
}

std::optional<FileWalk::Found> FileWalk::nextRoot() {
  const path root = std::move(roots_.back());
  roots_.pop_back();
  switch (entryKind(root)) {
    case EntryKind::File:
    case EntryKind::CannotExamine:
      return Found{.path = root, .error = {}};
    case EntryKind::Directory:
    case EntryKind::DirectoryLink:
      return enter(root);
    case EntryKind::Other:
      break;
  }
  return Found{.path = root, .error = "not a regular file"};
}

// Returns the directory if it cannot be listed.
std::optional<FileWalk::Found> FileWalk::enter(const path& directory) {
  std::error_code error;
  auto names = listDirectory(directory, error);
  if (error) return Found{.path = directory, .error = error.message()};
  std::ranges::reverse(names);
  levels_.push_back({.directory = directory, .names = std::move(names), .directories = {}});
  return std::nullopt;
}

std::optional<FileWalk::Found> FileWalk::enterNextDirectory() {
  Level& level = levels_.back();
  if (level.directories.empty()) {
    levels_.pop_back();
    return std::nullopt;
  }
  const path directory = level.directory / level.directories.front();
  level.directories.pop_front();
  return enter(directory);
}

}  // namespace sourcetype
