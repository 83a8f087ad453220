// A log that is compressed, or in an archive, for verbs that show one log.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "inspect/preview/log_text.h"

namespace sourcetype {

struct CompressedLog {
  std::filesystem::path path;  // by which configuration knows it
  LogBytes bytes;
  std::string error;  // why the rest cannot be read
};

// Reads "FILE", or "FILE!MEMBER" as scan prints it. Returns nothing if the file is not compressed.
// Throws InspectError if the archive has no member of this name, or if the name is empty and it has
// several members.
std::optional<CompressedLog> readCompressedLog(const std::string& word);

}  // namespace sourcetype
