// What is asked about one file.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace sourcetype {

// The limit on the lines of a sample, except for quick looks. At most kBytesPerLine bytes are read
// for each of them.
inline constexpr std::uint64_t kDefaultMaxLines = 20000;

struct TypeRequest {
  std::filesystem::path path;
  // Allows creating a sourcetype, learning the file under it and looking for a header line.
  bool learningAllowed = true;
  // Replaces the content of the file, which is then not read.
  std::optional<std::string> sampleText = {};
  std::uint64_t maxLines = kDefaultMaxLines;
};

}  // namespace sourcetype
