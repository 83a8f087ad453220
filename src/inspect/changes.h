// What would be written: the edits that a store keeps in memory, compared with the disk.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "conf/memory_storage.h"

namespace sourcetype {

struct FileChange {
  std::filesystem::path file;
  bool existed = false;
  bool exists = true;  // afterwards
  std::string before;  // its content; empty for a missing file
  std::string after;
};

// The files that differ from the disk, in the order of their paths. Throws std::system_error if a
// file cannot be read.
std::vector<FileChange> changesOf(const MemoryStorage& edits);

// The path of a changed file below the server's root, with "/" as separator. The whole path if the
// file is elsewhere, where a symbolic link led.
std::string nameBelow(const std::filesystem::path& home, const FileChange& change);

}  // namespace sourcetype
