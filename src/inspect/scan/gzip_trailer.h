// The checksum at the end of a gzip file, which libarchive does not test.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace sourcetype {

// What is wrong with the end of a gzip file whose whole text is `text`; empty if nothing is. Of
// several gzip files in one, only the last one is tested.
std::string gzipFault(const std::filesystem::path& file, std::string_view text);

}  // namespace sourcetype
