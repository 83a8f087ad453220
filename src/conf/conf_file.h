// One .conf file as lookups see it.
#pragma once

#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

#include "conf/logical_lines.h"
#include "platform/file_system.h"

namespace sourcetype {

// A parsed file: its bytes and views into them. Within one file a header that occurs again adds to
// its stanza, and the last value of a key is the one that counts. Moves, does not copy.
class ConfFile {
 public:
  struct Setting {
    std::string_view key;
    std::string_view value;
  };
  struct Stanza {
    std::string_view name;
    std::span<const Setting> settings;  // in ascending byte order of the keys

    // Nothing when the stanza lacks the key.
    const Setting* find(std::string_view key) const;
  };

  ConfFile(std::filesystem::path path, FileBytes bytes, Report report = Report::Yes);

  // The file as it was read.
  std::string_view bytes() const { return bytes_.view(); }
  const std::filesystem::path& path() const { return path_; }
  // In ascending byte order of the names.
  std::span<const Stanza> stanzas() const { return stanzas_; }
  const Stanza* find(std::string_view name) const;

 private:
  std::filesystem::path path_;
  FileBytes bytes_;
  TextKeeper keeper_;
  std::vector<Setting> settings_;  // stanza by stanza
  std::vector<Stanza> stanzas_;
};

}  // namespace sourcetype
