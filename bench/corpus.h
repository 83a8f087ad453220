// Files to measure with, made when first asked for and removed at the end.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>

namespace sourcetype::bench {

// A directory of its own for the whole run.
const std::filesystem::path& workDirectory();

// `bytes` of log lines of about 1000 bytes, so that the byte limit of a sample and not its line
// limit decides: ASCII alone, or a third each of ASCII, Cyrillic and Chinese.
std::string asciiLog(std::size_t bytes);
std::string mixedLog(std::size_t bytes);

// `lines` of about 100 bytes.
std::string shortLineLog(std::size_t lines);

// A props.conf of `count` stanzas: sourcetypes of eight settings, or source patterns of two.
std::string sourcetypeStanzas(std::size_t count);
std::string patternStanzas(std::size_t count);

// Writes a file below workDirectory(), once per name; gives its path.
std::filesystem::path madeFile(const std::string& name, const std::string& content);

}  // namespace sourcetype::bench
