// The directories of the configuration tree.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace sourcetype {

// The app that learned models are written to; everything else is written to the system.
inline constexpr std::string_view kLearnedApp = "learned";

// The names of the apps that come with this program begin so. Their defaults are the weakest layers,
// so that the tree can be copied into that of a server and changes none of its settings.
inline constexpr std::string_view kBundledApps = "bundled-";

// `app` is the directory of an app, or its name.
bool isBundledApp(const std::filesystem::path& app);

// "<root>/system/local": the strongest layer.
std::filesystem::path systemLocalDirectory(const std::filesystem::path& root);

// "<root>/apps/<app>/local"
std::filesystem::path appLocalDirectory(const std::filesystem::path& root, std::string_view app);

// All directories that may have .conf files, from the strongest layer to the weakest: system/local,
// apps/*/local (by the names of the apps), users/*/*/local, apps/*/default of apps that are not
// bundled, bundles/default, system/default, apps/*/default of bundled apps. system/local and the
// local layer of the app "learned" are listed even if they do not exist, because a write may create
// them.
std::vector<std::filesystem::path> layerDirectories(const std::filesystem::path& root);

}  // namespace sourcetype
