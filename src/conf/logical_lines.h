// The line syntax of .conf files, shared by every reader of them.
//
// A line whose first character other than blank, tab, CR and LF is ";" or "#" is a comment, one
// that begins with "[" a stanza header, any other a setting "key = value". A header or setting that
// ends in a backslash goes on in the next physical line, with a newline in the place of the
// backslash. In a key a backslash takes the next character literally; a value keeps its
// backslashes.
#pragma once

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "util/logging.h"
#include "util/record_limit.h"
#include "util/text_keeper.h"

namespace sourcetype {

inline constexpr LogCategory kIniFileLog{"IniFile"};

// The stanza of settings that stand before any header, and the one that completes every other.
inline constexpr std::string_view kDefaultStanza = "default";

enum class LineKind { Blank, Comment, Header, Setting, Malformed };

struct LogicalLine {
  LineKind kind = LineKind::Blank;
  std::string_view raw;    // its bytes in the file, line terminators included
  std::string_view text;   // of a header or setting: its lines joined, without the last terminator
  std::string_view name;   // of the stanza as it stands, or the setting's key, trimmed
  std::string_view value;  // of a setting, trimmed; at most kMaxGapBytes behind its key in one text
  bool unfinished = false;  // ends in a backslash where the file ends: nothing continues it
};

// Bytes of a key. Settings are kept with sizes of 16 bits.
inline constexpr std::size_t kMaxKeyBytes = 0xFFFF;
// Bytes between a key and its value.
inline constexpr std::size_t kMaxGapBytes = 0xFFFF;

// Whether lines that cannot be read are logged (at WARN, with path and line number) while they are
// skipped. A file that is read again for a write has been reported on before.
enum class Report { Yes, No };

// Cuts the bytes of a file into logical lines. In a file with the extension "spec" a line
// without "=" is skipped without a report.
class LogicalLineReader {
 public:
  // `bytes` and `keeper` must outlive the lines. `path` is for messages alone.
  LogicalLineReader(std::string_view bytes, std::filesystem::path path, TextKeeper& keeper,
                    Report report = Report::Yes);

  // False at the end of the file.
  bool next(LogicalLine& line);

  // Leaves out the rest of the file: next() gives no more lines.
  void stop() { rest_ = {}; }

  // Physical lines read so far.
  std::size_t lineCount() const { return lineCount_; }

  // Logs "<path>, line <number>", `problem` and `text`; after some records of one problem only
  // their number, at the end of the file. `problem` must outlive the reader.
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

// The header of a stanza in a form that reads back as `name`, without a line terminator.
std::string renderHeader(std::string_view name);

// A setting in a form that reads back as `key` and `value`, without a line terminator. A key or
// value that begins or ends with a blank or tab has no such form: it reads back trimmed.
std::string renderSetting(std::string_view key, std::string_view value);

}  // namespace sourcetype
