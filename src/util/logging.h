// Logging: named categories and a function for each level.
//
//   constexpr LogCategory kLog("Reader");
//   logWarn(kLog, "Cannot read %s (%m).", path, error);
//
// util/log_configuration.h configures the back end at start-up. Before that, records are dropped.
#pragma once

#include <atomic>
#include <string>
#include <string_view>

#include "util/format.h"

namespace log4cpp {
class Category;
}

namespace sourcetype {

// In rising order of severity.
enum class LogLevel { Debug = 0, Info = 1, Warn = 3, Error = 4 };

// A named source of log records. Categories are the only global state of the program, because code
// at any depth logs. A category has only a name and a pointer to the back end's object.
class LogCategory {
 public:
  constexpr explicit LogCategory(const char* name) : name_(name) {}

  // Cheap.
  bool isEnabled(LogLevel level) const;
  void write(LogLevel level, const std::string& record) const;

 private:
  log4cpp::Category& backEnd() const;

  const char* name_;
  mutable std::atomic<log4cpp::Category*> backEnd_ = nullptr;  // set at first use
};

// Logs formatText(format, args...) if the level is enabled for the category. A record is one line
// unless `format` contains a newline or an argument is MultiLineText.
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

}  // namespace sourcetype
