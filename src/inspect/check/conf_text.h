// A .conf file as a check sees it: every header and setting with its line.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string_view>
#include <vector>

#include "inspect/check/findings.h"
#include "platform/file_system.h"
#include "util/text_keeper.h"

namespace sourcetype {

class ConfText {
 public:
  struct Header {
    std::string_view stanza;
    std::size_t line;
  };
  struct Setting {
    std::string_view stanza;  // "default" before the first header
    std::string_view key;
    std::string_view value;
    std::size_t line;
  };

  // Adds to `findings` what is wrong with the encoding, the lines and the names of stanzas, and
  // which stanzas and keys occur twice. A file in an encoding that is not supported has no headers
  // and settings.
  ConfText(std::filesystem::path path, FileBytes bytes, Findings& findings);

  const std::filesystem::path& path() const { return path_; }
  // In the order of the file.
  const std::vector<Header>& headers() const { return headers_; }
  const std::vector<Setting>& settings() const { return settings_; }

  Place at(std::size_t line) const { return {.file = path_, .line = line}; }

 private:
  void checkBytes(Findings& findings) const;
  void readLines(Findings& findings);
  void checkHeaders(Findings& findings) const;
  void checkDuplicates(Findings& findings) const;

  std::filesystem::path path_;
  FileBytes bytes_;
  TextKeeper keeper_;
  std::vector<Header> headers_;
  std::vector<Setting> settings_;
};

}  // namespace sourcetype
