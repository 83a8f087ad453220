// Finds the files below paths, one after the other.
//
//   FileWalk walk({"/var/log"});
//   while (const auto found = walk.next()) scan(*found);
#pragma once

#include <deque>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace sourcetype {

// The order is that of the paths given. In a directory the files come first, then the directories,
// each in byte order of their names.
//
// Links to files are followed. Links to directories are followed only if they were given: so a
// circle of links does no harm, and no directory is walked twice. FIFOs, sockets and devices in
// directories are skipped.
//
// The names of one directory on each level are in memory, about 50 bytes for a short name.
class FileWalk {
 public:
  struct Found {
    std::filesystem::path path;
    std::string error;  // empty unless a directory cannot be listed or a root is no file
  };

  explicit FileWalk(std::vector<std::filesystem::path> roots);

  // Nothing at the end. A path that does not exist, and a link that leads nowhere, is found like a
  // file.
  std::optional<Found> next();

 private:
  struct Level {
    std::filesystem::path directory;
    std::vector<std::filesystem::path> names;       // not examined yet, the last one first
    std::deque<std::filesystem::path> directories;  // found among the names, the first one first
  };

  std::optional<Found> nextRoot();
  std::optional<Found> enter(const std::filesystem::path& directory);
  std::optional<Found> enterNextDirectory();

  std::vector<std::filesystem::path> roots_;  // the last one first
  std::vector<Level> levels_;                 // the current directory last
};

}  // namespace sourcetype
