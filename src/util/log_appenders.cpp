#include "util/log_appenders.h"

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/DailyRollingFileAppender.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/RemoteSyslogAppender.hh>
#include <log4cpp/RollingFileAppender.hh>
#include <log4cpp/SimpleLayout.hh>

#include <algorithm>
#include <array>
#include <cerrno>
#include <ctime>
#include <iostream>
#include <string_view>
#include <system_error>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/log_values.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using log4cpp::Priority;

// The layout of an appender without a usable layout of its own.
constexpr const char* kDefaultPattern = "%d{%Y-%m-%d %H:%M:%S.%l} %-5p %c - %m%n";

// Digits of a field width in a pattern. The back end pads a record to the width in memory.
constexpr std::size_t kMaxWidthDigits = 3;

// Bytes. The back end writes a time into a buffer of 100 bytes. If the time does not fit, it prints
// undefined bytes. The difference is for months and days with longer names than today's.
constexpr std::size_t kMaxTimeLength = 80;

constexpr unsigned kMaxBackups = 999;  // each roll renames all of them
constexpr unsigned kDefaultMaxFileSize = 10 * 1024 * 1024;
constexpr unsigned kDefaultBackups = 1;
constexpr unsigned kMaxKeptDays = 36500;
constexpr unsigned kDefaultDays = 30;
constexpr unsigned kSyslogPort = 514;

// No other appender has a comma in its name.
constexpr const char* kStandardError = "standard error,";

// "org.x.FileAppender" and "FileAppender" are the same type.
std::string_view typeName(std::string_view value) {
  return value.substr(value.rfind('.') + 1);
}

// The settings of one appender. A value that cannot be used adds a complaint with its full key and
// counts as not set.
class AppenderSettings {
 public:
  AppenderSettings(const LogProperties& properties, const std::string& name,
                   LogComplaints& complaints)
      : properties_(properties),
        name_(name),
        prefix_("appender." + name),
        complaints_(complaints) {}

  const std::string& name() const { return name_; }

  // `key` begins with a dot; an empty key is the appender's type.
  std::string text(std::string_view key, std::string_view fallback = {}) const {
    const auto found = properties_.find(prefix_ + std::string(key));
    return found == properties_.end() ? std::string(fallback) : found->second.value;
  }

  bool flag(std::string_view key, bool fallback) const {
    const auto value = text(key, fallback ? "true" : "false");
    const auto result = parseLogFlag(value);
    if (!result) complain(key, "neither true nor false: " + inQuotes(value));
    return result.value_or(fallback);
  }

  unsigned number(std::string_view key, unsigned fallback, unsigned min, unsigned max) const {
    const std::string value = text(key, std::to_string(fallback));
    const auto result = parseLogNumber(value, min, max);
    if (!result) {
      complain(key, "no number from " + std::to_string(min) + " to " + std::to_string(max) + ": " +
                        inQuotes(value));
    }
    return result.value_or(fallback);
  }

  // The file of a missing key is the file that has the appender's type.
  void complain(std::string_view key, std::string_view reason) const {
    const auto fullKey = prefix_ + std::string(key);
    auto place = properties_.find(fullKey);
    if (place == properties_.end()) place = properties_.find(prefix_);
    complaints_.add(place->second.file, fullKey + ": " + std::string(reason));
  }

 private:
  const LogProperties& properties_;
  const std::string& name_;
  std::string prefix_;
  LogComplaints& complaints_;
};

using AppenderPtr = std::unique_ptr<log4cpp::Appender>;

AppenderPtr makeConsoleAppender(const AppenderSettings& settings) {
  const auto target = toAsciiUpper(settings.text(".target", "stdout"));
  const bool isKnown = target == "STDOUT" || target == "STDERR";
  if (!isKnown) settings.complain(".target", "neither stdout nor stderr: " + inQuotes(target));
  // An unknown target must not mix records with the results on standard output.
  return std::make_unique<log4cpp::OstreamAppender>(settings.name(),
                                                    target == "STDOUT" ? &std::cout : &std::cerr);
}

// The constructor of `Appender` takes the appender's name, the file's name, then `arguments`. It
// opens the file but does not report a failure; reopen() does. Null if the file cannot be opened.
template <class Appender, class... Arguments>
AppenderPtr makeFileAppender(const AppenderSettings& settings, Arguments... arguments) {
  const std::string file = settings.text(".fileName");
  const auto refuse = [&](std::string_view reason) {
    settings.complain(".fileName", reason);
    return nullptr;
  };
  if (file.empty()) return refuse("missing");
  // Opening a FIFO would wait for its reader.
  if (fileKind(pathFromText(file)) == FileKind::Other) {
    return refuse(file + " is not a regular file");
  }
  auto appender = std::make_unique<Appender>(settings.name(), file, arguments...);
  if (!appender->reopen()) {
    const std::error_code error(errno, std::generic_category());
    return refuse(file + ": " + error.message());
  }
  return appender;
}

// Null when it cannot be used.
AppenderPtr makeAppender(const AppenderSettings& settings) {
  const std::string value = settings.text("");
  const auto type = typeName(value);
  if (type == "ConsoleAppender") return makeConsoleAppender(settings);
  if (type == "FileAppender") {
    return makeFileAppender<log4cpp::FileAppender>(settings, settings.flag(".append", true));
  }
  if (type == "RollingFileAppender") {
    return makeFileAppender<log4cpp::RollingFileAppender>(
        settings, settings.number(".maxFileSize", kDefaultMaxFileSize, 1, ~0U),
        settings.number(".maxBackupIndex", kDefaultBackups, 0, kMaxBackups),
        settings.flag(".append", true));
  }
  if (type == "DailyRollingFileAppender") {
    return makeFileAppender<log4cpp::DailyRollingFileAppender>(
        settings, settings.number(".maxDaysKeep", kDefaultDays, 0, kMaxKeptDays),
        settings.flag(".append", true));
  }
  if (type == "SyslogAppender") {
    return std::make_unique<log4cpp::RemoteSyslogAppender>(
        settings.name(), settings.text(".syslogName", "sourcetype"),
        settings.text(".syslogHost", "localhost"), LOG_USER,
        static_cast<int>(settings.number(".portNumber", kSyslogPort, 1, 65535)));
  }
  settings.complain("", "unknown appender type " + inQuotes(type));
  return nullptr;
}

// The reason why a pattern is refused, or empty. The back end would accept very wide fields and
// times that overflow its buffer.
std::string faultOf(std::string_view pattern) {
  while (true) {
    const auto percent = pattern.find('%');
    if (percent == std::string_view::npos) return {};
    pattern.remove_prefix(percent + 1);
    std::size_t digits = 0;
    while (!pattern.empty() &&
           std::string_view("-.0123456789").find(pattern[0]) != std::string_view::npos) {
      digits = pattern[0] >= '0' ? digits + 1 : 0;
      if (digits > kMaxWidthDigits) return "field too wide";
      pattern.remove_prefix(1);
    }
    if (pattern.starts_with("d{")) {
      std::string format(pattern.substr(2, pattern.find('}') - 2));
      // "%l" is the back end's conversion for milliseconds. C libraries differ in its meaning.
      if (const auto millis = format.find("%l"); millis != std::string::npos) {
        format.replace(millis, 2, "999");
      }
      std::array<char, kMaxTimeLength> buffer;
      const std::time_t now = std::time(nullptr);
      const std::tm* local = std::localtime(&now);  // NOLINT(concurrency-mt-unsafe): one thread
      if (std::strftime(buffer.data(), buffer.size(), format.c_str(), local) == 0) {
        return "a time that is empty or too long: " + inQuotes(format);
      }
    }
    pattern.remove_prefix(std::min<std::size_t>(pattern.size(), 1));
  }
}

std::unique_ptr<log4cpp::Layout> makePatternLayout(const AppenderSettings& settings,
                                                   const std::string& pattern) {
  auto layout = std::make_unique<log4cpp::PatternLayout>();
  std::string fault = faultOf(pattern);
  try {
    if (fault.empty()) layout->setConversionPattern(pattern);
  } catch (const log4cpp::ConfigureFailure& error) {
    fault = error.what();
  }
  if (!fault.empty()) {
    settings.complain(".layout.ConversionPattern", fault);
    layout->setConversionPattern(kDefaultPattern);
  }
  return layout;
}

std::unique_ptr<log4cpp::Layout> makeLayout(const AppenderSettings& settings) {
  const std::string value = settings.text(".layout");
  const auto type = typeName(value);
  if (type == "BasicLayout") return std::make_unique<log4cpp::BasicLayout>();
  if (type == "SimpleLayout") return std::make_unique<log4cpp::SimpleLayout>();
  if (type == "PatternLayout") {
    return makePatternLayout(settings, settings.text(".layout.ConversionPattern", "%m%n"));
  }
  if (!type.empty()) settings.complain(".layout", "unknown layout type " + inQuotes(type));
  return makePatternLayout(settings, kDefaultPattern);
}

AppenderPtr makeWithLayout(const AppenderSettings& settings) {
  auto made = makeAppender(settings);
  if (made == nullptr) return nullptr;
  if (const auto value = settings.text(".threshold"); !value.empty()) {
    const auto level = parseLogLevel(value);
    if (!level) settings.complain(".threshold", "unknown level " + inQuotes(value));
    made->setThreshold(level.value_or(Priority::NOTSET));
  }
  made->setLayout(makeLayout(settings).release());  // the appender owns it
  return made;
}

}  // namespace

AppenderPtr makeLogAppender(const LogProperties& properties, const std::string& name,
                            LogComplaints& complaints) {
  const AppenderSettings settings(properties, name, complaints);
  try {
    return makeWithLayout(settings);
  } catch (const std::exception& error) {
    settings.complain("", error.what());
    return nullptr;
  }
}

AppenderPtr makeFallbackLogAppender() {
  auto layout = std::make_unique<log4cpp::PatternLayout>();
  layout->setConversionPattern(kDefaultPattern);
  auto made = std::make_unique<log4cpp::OstreamAppender>(kStandardError, &std::cerr);
  made->setLayout(layout.release());  // the appender owns it
  return made;
}

}  // namespace sourcetype
