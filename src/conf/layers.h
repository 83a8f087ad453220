// Where the configuration tree keeps its files.
#pragma once

#include <filesystem>
#include <string_view>
#include <vector>

namespace sourcetype {

// The application that owns learned models; every other write belongs to the system.
inline constexpr std::string_view kLearnedApp = "learned";

// "<root>/system/local", the strongest layer and the one that writes go to.
std::filesystem::path systemLocalDirectory(const std::filesystem::path& root);

// "<root>/apps/<app>/local"
std::filesystem::path appLocalDirectory(const std::filesystem::path& root, std::string_view app);

// Every directory that may hold .conf files, from the strongest layer to the weakest: system/local,
// apps/*/local (by name of the app), users/*/*/local, apps/*/default, bundles/default,
// system/default. Directories that a write can make are listed whether they exist or not.
std::vector<std::filesystem::path> layerDirectories(const std::filesystem::path& root);

}  // namespace sourcetype
