// Logging: named categories and four entry points. The back end is configured once at start-up
// (conf/environment); before that, records are dropped.
#pragma once

#include <atomic>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "util/format.h"

namespace log4cpp {
class Category;
}

namespace sourcetype {

// In rising order of severity.
enum class LogLevel { Debug = 0, Info = 1, Warn = 3, Error = 4 };

// A named source of log records. Categories are the only global state of the program: a record must
// find its way from any depth, and what they hold is a name and the back end's object for it.
class LogCategory {
 public:
  constexpr explicit LogCategory(const char* name) : name_(name) {}

  // Cheap, and keeps errno for a "%m" that follows.
  bool isEnabled(LogLevel level) const;
  void write(LogLevel level, const std::string& record) const;

 private:
  log4cpp::Category& backEnd() const;

  const char* name_;
  mutable std::atomic<log4cpp::Category*> backEnd_ = nullptr;  // the back end's, found at first use
};

// Logs `format`, filled with `args` as formatText() does, when the category's level asks for it. A
// record is one line unless `format` holds a newline or an argument is MultiLineText.
template <class... Args>
void logAt(LogLevel level, const LogCategory& category, std::string_view format,
           const Args&... args) {
  if (!category.isEnabled(level)) return;
  category.write(level, formatText(format, args...));
}

template <class... Args>
void logDebug(const LogCategory& category, std::string_view format, const Args&... args) {
  logAt(LogLevel::Debug, category, format, args...);
}
template <class... Args>
void logInfo(const LogCategory& category, std::string_view format, const Args&... args) {
  logAt(LogLevel::Info, category, format, args...);
}
template <class... Args>
void logWarn(const LogCategory& category, std::string_view format, const Args&... args) {
  logAt(LogLevel::Warn, category, format, args...);
}
template <class... Args>
void logError(const LogCategory& category, std::string_view format, const Args&... args) {
  logAt(LogLevel::Error, category, format, args...);
}

// Configures the back end from a property file (util/log_properties.h says how it is read), in
// place of what an earlier call set up:
//   rootCategory = LEVEL[, APPENDER...]       every category that names no level has this one
//   category.NAME = [LEVEL][, APPENDER...]    additivity.NAME = false keeps it from root's
//   appenders appender.NAME = ConsoleAppender           .target = stdout | stderr
//       | FileAppender              .fileName, .append = true | false
//       | RollingFileAppender       and .maxFileSize (bytes), .maxBackupIndex
//       | DailyRollingFileAppender  .fileName, .append, .maxDaysKeep
//       | SyslogAppender            .syslogName, .syslogHost, .portNumber (UDP)
//   appender.NAME.threshold = LEVEL
//   appender.NAME.layout = BasicLayout | SimpleLayout | PatternLayout (.layout.ConversionPattern)
// A level is a name or its number in the back end's scale. Types may be written with a path before
// them ("org.x.FileAppender"). An appender that no category names is not made. A value that cannot
// be used counts as not set, an appender that cannot be used as not named; without a root category
// or any appender of it that can be used, records of its level, or WARN and above, go to standard
// error. Gives a line for each fault, with the file that it stands in; empty when there is none.
std::string configureLogging(const std::filesystem::path& file,
                             const std::map<std::string, std::string>& variables);

}  // namespace sourcetype
