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

class FlowObserver;

struct TypeRequest {
  std::filesystem::path path;
  // Allows creating a sourcetype, learning the file under it and looking for a header line.
  bool learningAllowed = true;
  // Replaces the content of the file, which is then not read.
  std::optional<std::string> sampleText = {};
  std::uint64_t maxLines = kDefaultMaxLines;
  // Gives the answer of a run that learns, and writes nothing: a sourcetype that would be new is
  // proposed and not kept, and no header line is looked for.
  bool isTrial = false;
  // Is told what the flow sees; null: nobody. Must outlive the request.
  FlowObserver* observer = nullptr;
};

}  // namespace sourcetype
