#include "conf/store_log.h"

#include "platform/file_writing.h"
#include "platform/path_form.h"
#include "util/format.h"

namespace sourcetype {

void logSaving(const std::filesystem::path& file, bool overwriteAll, const PropertiesMap& existing,
               const PropertiesMap& desired) {
  if (!kStoreLog.isEnabled(LogLevel::Debug)) return;
  const auto target = pathToText(file);
  logDebug(kStoreLog, "writing with overwriteAll == %s: %s", overwriteAll ? "true" : "false",
           target);
  logDebug(kStoreLog, "Saving settings: %s\nExisting:\n%sDesired:\n%sDiff:\n%s", target,
           MultiLineText{existing.toString()}, MultiLineText{desired.toString()},
           MultiLineText{PropertiesMap::diff(desired, existing).toString()});
}

void logSaved(const std::filesystem::path& file) {
  if (!kStoreLog.isEnabled(LogLevel::Debug)) return;
  logDebug(kStoreLog, "Saved settings: %s %s", pathToText(file), pathToText(writeTarget(file)));
}

}  // namespace sourcetype
