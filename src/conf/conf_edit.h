// The text that a write puts into a .conf file, and the check that it reads back as intended.
// Everything here works on texts: nothing is read from or written to a disk.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>

#include "conf/conf_file.h"
#include "conf/properties_map.h"

namespace sourcetype {

using StanzaNames = std::unordered_set<std::string>;

// Why a file that exceeds the limits of ConfFile, or would, is not written.
inline constexpr const char* kTooLarge =
    "it holds more settings or stanzas than are read of a file";

// A copy of `text` as the file `path` would contain it.
ConfFile parseText(const std::filesystem::path& path, std::string_view text);

// A new stanza for the file `path`; bytes() is its text. Throws std::runtime_error when a key or
// value has no form that would read back the same.
ConfFile makeStanza(const std::filesystem::path& path, std::string_view stanza,
                    const PropertiesMap& settings, std::string_view lineEnd);

PropertiesMap settingsOf(const ConfFile::Stanza& stanza);

// Throws std::runtime_error unless `after` is `before` with `changes` in one stanza, nothing else
// is new, lost or changed, and a read would accept it.
void requireExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                      const PropertiesMap& changes);

// A text of stanzas without some of them.
struct RemainingStanzas {
  std::string text;
  StanzaNames removed;
};
RemainingStanzas removeStanzas(std::string_view text, const StanzaNames& names);

}  // namespace sourcetype
