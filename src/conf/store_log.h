// What the configuration store logs.
#pragma once

#include <filesystem>

#include "conf/properties_map.h"
#include "util/logging.h"

namespace sourcetype {

inline constexpr LogCategory kStoreLog{"ConfObjectManagerDB"};

// Log a write to `file` at DEBUG: before it, the settings of the stanza and those that are wanted;
// after it, the file and the place that its links lead to.
void logSaving(const std::filesystem::path& file, bool overwriteAll, const PropertiesMap& existing,
               const PropertiesMap& desired);
void logSaved(const std::filesystem::path& file);

}  // namespace sourcetype
