#include "conf/layers.h"

#include <algorithm>
#include <system_error>

#include "conf/store_log.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

// The paths of the entries; empty if there is no such directory. Logs a directory that cannot be
// read.
std::vector<path> entriesOf(const path& directory) {
  std::error_code error;
  std::vector<path> entries = listDirectory(directory, error);
  if (error && !isMissingFile(error)) {
    logWarn(kStoreLog, "Failed to open: %s: %m", pathToText(directory), error);
  }
  for (auto& entry : entries) entry = directory / entry;
  return entries;
}

}  // namespace

bool isBundledApp(const path& app) {
  return pathToText(app.filename()).starts_with(kBundledApps);
}

path systemLocalDirectory(const path& root) {
  return root / "system" / "local";
}

path appLocalDirectory(const path& root, std::string_view app) {
  return root / "apps" / app / "local";
}

std::vector<path> layerDirectories(const path& root) {
  std::vector<path> apps = entriesOf(root / "apps");
  const path learned = root / "apps" / kLearnedApp;
  if (const auto place = std::ranges::lower_bound(apps, learned);
      place == apps.end() || *place != learned) {
    apps.insert(place, learned);
  }

  std::vector<path> layers{systemLocalDirectory(root)};
  for (const auto& app : apps) layers.push_back(app / "local");
  for (const auto& user : entriesOf(root / "users")) {
    for (const auto& app : entriesOf(user)) layers.push_back(app / "local");
  }
  const auto addDefaults = [&](bool bundled) {
    for (const auto& app : apps) {
      if (isBundledApp(app) == bundled) layers.push_back(app / "default");
    }
  };
  addDefaults(false);
  layers.push_back(root / "bundles" / "default");
  layers.push_back(root / "system" / "default");
  addDefaults(true);
  return layers;
}

}  // namespace sourcetype
