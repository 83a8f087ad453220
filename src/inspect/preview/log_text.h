// The beginning of a log as numbered lines of text, as far as the classifier reads it.
//
//   const LogBytes bytes = readLogFile(path);
//   const LogText log = makeLogText(bytes, settings, pathToText(path));
//   for (const auto& line : log.lines) show(line.number, line.text);
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"

namespace sourcetype {

// The bytes of a log, at most as many as a sample has.
struct LogBytes {
  std::string bytes;
  bool isWhole = true;  // false: the log is longer
};

// Throws InspectError if the file cannot be opened or read.
LogBytes readLogFile(const std::filesystem::path& path);
LogBytes readStandardInput();

struct LogLine {
  std::size_t number;  // from 1; empty lines count
  std::string text;    // without its terminator
};

struct LogText {
  std::vector<LogLine> lines;   // without empty lines, at most kDefaultMaxLines
  std::size_t unreadLines = 0;  // lines after these that are not empty
  bool isWhole = true;          // false: more lines than `unreadLines` are unread
  bool isBinary = false;
};

// Converts the bytes to UTF-8 by "CHARSET" of `settings` and splits them at CR and LF. With an
// unknown charset the bytes stay as they are. Line numbers count LF, as editors do, or CR in a log
// without LF. `name` is for the log of the program.
LogText makeLogText(const LogBytes& log, const PropertiesMap& settings, std::string_view name);

// Cuts each line to at most `maxBytes` bytes, at the end of a character. Returns how many were
// longer.
std::size_t cutLongLines(std::vector<LogLine>& lines, std::size_t maxBytes);

}  // namespace sourcetype
