// A log that is compressed, or in an archive, for verbs that show one log.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "inspect/preview/log_text.h"

namespace sourcetype {

struct CompressedLog {
  std::filesystem::path path;  // the name that configuration uses
  LogBytes bytes;
  std::string error;  // why the rest cannot be read; empty if all was read
};

// Reads "FILE", or "FILE!MEMBER" as scan prints it. Returns nothing if the file is not compressed.
// Throws InspectError if the archive has no member MEMBER, or if `word` names no member and the
// archive is empty or has several.
std::optional<CompressedLog> readCompressedLog(const std::string& word);

}  // namespace sourcetype
