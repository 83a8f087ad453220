// The line syntax of .conf files. All parsers of these files use it.
//
// The first character of a line that is not blank, tab, CR or LF decides what the line is: ";" and
// "#" begin a comment, "[" begins a stanza header, any other character a setting "key = value". If
// a header or setting ends in a backslash, the next physical line continues it, and a newline
// replaces the backslash. In a key, a backslash escapes the next character; a value keeps its
// backslashes.
//
//   TextKeeper keeper;
//   LogicalLineReader reader(bytes, path, keeper);
//   for (LogicalLine line; reader.next(line);) {
//     if (line.kind == LineKind::Setting) use(line.name, line.value);
//   }
#pragma once

#include <cstddef>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "util/logging.h"
#include "util/record_limit.h"
#include "util/text_keeper.h"

namespace sourcetype {

inline constexpr LogCategory kIniFileLog{"IniFile"};

// Some editors write it at the start of a file.
inline constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

enum class LineKind { Blank, Comment, Header, Setting, Malformed };

struct LogicalLine {
  LineKind kind = LineKind::Blank;
  std::string_view raw;    // the bytes in the file, with the line terminators
  std::string_view text;   // header, setting: the joined lines without the last line terminator
  std::string_view name;   // header: the name of the stanza, not trimmed; setting: the key, trimmed
  std::string_view value;  // setting: trimmed; at most kMaxGapBytes after the key, in the same text
  bool unfinished = false;  // the last line of the file, and it ends in a backslash
};

// In bytes. ConfFile::Setting stores both sizes in 16 bits: that of a key, and the distance from
// its end to the value.
inline constexpr std::size_t kMaxKeyBytes = 0xFFFF;
inline constexpr std::size_t kMaxGapBytes = 0xFFFF;

// Yes: lines that cannot be parsed are logged (at WARN, with path and line number). They are
// skipped in both cases. No is for a file that is read again: its lines were logged at the first
// read.
enum class Report { Yes, No };

// Splits the bytes of a file into logical lines. In a file with the extension "spec", a line
// without
// "=" is skipped and never logged.
class LogicalLineReader {
 public:
  // `bytes` and `keeper` must outlive the lines. `path` is for messages and its extension.
  LogicalLineReader(std::string_view bytes, std::filesystem::path path, TextKeeper& keeper,
                    Report report = Report::Yes);

  // False at the end of the file.
  bool next(LogicalLine& line);

  // Skips the rest of the file: next() returns false.
  void stop() { rest_ = {}; }

  // The number of physical lines read so far.
  std::size_t lineCount() const { return lineCount_; }

  // Logs "<path>, line <number>", `problem` and `text`. Of one problem it logs a limited number of
  // records (see RecordLimit) and, at the end of the file, how many more there were. `problem` must
  // outlive the reader.
  void report(std::string_view problem, std::string_view text);

  const std::filesystem::path& path() const { return path_; }

 private:
  void reportLoneCarriageReturn() const;
  std::string_view takePhysicalLine();
  std::string_view takeContinued(std::string_view first, bool& unfinished);
  void parseHeader(LogicalLine& line);
  void parseSetting(LogicalLine& line);
  std::size_t endOfEscapedKey(std::string_view text);
  void reportOmittedRecords();

  std::string_view rest_;
  std::filesystem::path path_;
  TextKeeper& keeper_;
  Report report_;
  std::size_t lineCount_ = 0;
  std::map<std::string_view, RecordLimit> records_;  // by problem
};

// A header that reads back as `name`, without a line terminator.
std::string renderHeader(std::string_view name);

// A setting that reads back as `key` and `value`, without a line terminator. This is not possible
// for a key or value that begins or ends with a blank or tab: it reads back trimmed.
std::string renderSetting(std::string_view key, std::string_view value);

}  // namespace sourcetype
