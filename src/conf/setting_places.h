// Finds the files and lines of a setting.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace sourcetype {

struct SettingPlace {
  std::filesystem::path file;
  std::size_t line = 0;  // physical line, from 1; the first one of a continued setting
  std::string value;
};

// The settings of this stanza and key in the text of a .conf file, in the order of the file. The
// last one counts. `path` is for the result.
std::vector<SettingPlace> findSettings(std::string_view text, const std::filesystem::path& path,
                                       std::string_view stanza, std::string_view key);

}  // namespace sourcetype
