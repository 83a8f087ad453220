// What the configuration store logs.
#pragma once

#include <filesystem>

#include "conf/properties_map.h"
#include "util/logging.h"

namespace sourcetype {

inline constexpr LogCategory kStoreLog{"ConfObjectManagerDB"};

// Log a write to `file` at DEBUG. logSaving(), before the write: the settings that the stanza has
// and those that it shall have. logSaved(), after the write: the file, and the target of its links.
void logSaving(const std::filesystem::path& file, bool overwriteAll, const PropertiesMap& existing,
               const PropertiesMap& desired);
void logSaved(const std::filesystem::path& file);

}  // namespace sourcetype
