// The text that a write puts into a .conf file, and the check that this text reads back as
// intended. These functions do not access the disk; a `path` is the one that the text is for.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <unordered_set>

#include "conf/conf_file.h"
#include "conf/properties_map.h"

namespace sourcetype {

using StanzaNames = std::unordered_set<std::string>;

// The reason why a file is not written that exceeds the limits of ConfFile, or would then.
inline constexpr const char* kTooLarge =
    "it holds more settings or stanzas than are read of a file";

// A parsed copy of `text`. Nothing is logged.
ConfFile parseText(const std::filesystem::path& path, std::string_view text);

// A new stanza; bytes() is its text. Throws std::runtime_error when a key or value cannot be
// written in a form that reads back the same.
ConfFile makeStanza(const std::filesystem::path& path, std::string_view stanza,
                    const PropertiesMap& settings, std::string_view lineEnd);

PropertiesMap settingsOf(const ConfFile::Stanza& stanza);

// Throws std::runtime_error unless `after` is `before` with `changes` in one stanza: nothing else
// may be new, lost or changed, and readConfFile() must accept the text.
void requireExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                      const PropertiesMap& changes);

// A text after some stanzas were removed, and the names of those that it had. The comments after the
// last setting of such a stanza stay: they may describe the next one.
struct RemainingStanzas {
  std::string text;
  StanzaNames removed;
};
RemainingStanzas removeStanzas(std::string_view text, const StanzaNames& names);

}  // namespace sourcetype
