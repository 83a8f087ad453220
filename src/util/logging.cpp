// The one place that knows log4cpp. Its own configurator is not used: see docs/decisions.md.
#include "util/logging.h"

#include <log4cpp/BasicLayout.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/DailyRollingFileAppender.hh>
#include <log4cpp/FileAppender.hh>
#include <log4cpp/OstreamAppender.hh>
#include <log4cpp/PatternLayout.hh>
#include <log4cpp/Priority.hh>
#include <log4cpp/RemoteSyslogAppender.hh>
#include <log4cpp/RollingFileAppender.hh>
#include <log4cpp/SimpleLayout.hh>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <ctime>
#include <iostream>
#include <memory>
#include <vector>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/log_properties.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using log4cpp::Priority;

// What is in force until a configuration says otherwise, and when none can be used.
const LogProperties& defaultProperties() {
  static const LogProperties kProperties{{"rootCategory", "WARN,console"},
                                         {"appender.console", "ConsoleAppender"},
                                         {"appender.console.target", "stderr"}};
  return kProperties;
}

// The layout of an appender that names none.
constexpr const char* kDefaultPattern = "%d{%Y-%m-%d %H:%M:%S.%l} %-5p %c - %m%n";

// Bytes. The back end walks up a category's name recursively, one call for each dot.
constexpr std::size_t kMaxCategoryName = 200;

// Digits of a field width in a pattern: up to 999. A record is padded to its width in memory.
constexpr std::size_t kMaxWidthDigits = 3;

// Bytes. The back end writes a time into a buffer of 100 and prints what happens to be there when
// the time does not fit. The rest is for months and days with longer names than today's.
constexpr std::size_t kMaxTimeLength = 80;

constexpr unsigned kMaxBackups = 999;  // each roll renames all of them
constexpr unsigned kDefaultMaxFileSize = 10 * 1024 * 1024;
constexpr unsigned kDefaultBackups = 1;
constexpr unsigned kMaxDays = 36500;
constexpr unsigned kDefaultDays = 30;
constexpr unsigned kSyslogPort = 514;

Priority::Value parseLevel(const std::string& key, std::string_view name) {
  constexpr std::array<std::string_view, 10> kNames{"EMERG", "FATAL",  "ALERT", "CRIT",  "ERROR",
                                                    "WARN",  "NOTICE", "INFO",  "DEBUG", "NOTSET"};
  const auto upper = toAsciiUpper(name);
  if (std::ranges::find(kNames, upper) == kNames.end()) {
    throw LogConfigurationError(key + ": unknown level \"" + std::string(name) + "\"");
  }
  return Priority::getPriorityValue(upper);
}

// "org.x.FileAppender" and "FileAppender" are the same type.
std::string_view typeName(std::string_view value) {
  return value.substr(value.rfind('.') + 1);
}

std::vector<std::string> splitAtCommas(std::string_view text) {
  std::vector<std::string> parts;
  while (true) {
    const auto comma = text.find(',');
    auto part = text.substr(0, comma);
    while (part.starts_with(' ') || part.starts_with('\t')) part.remove_prefix(1);
    while (part.ends_with(' ') || part.ends_with('\t')) part.remove_suffix(1);
    parts.emplace_back(part);
    if (comma == std::string_view::npos) return parts;
    text.remove_prefix(comma + 1);
  }
}

bool parseFlag(const std::string& key, const std::string& value) {
  const auto upper = toAsciiUpper(value);
  if (upper != "TRUE" && upper != "FALSE") {
    throw LogConfigurationError(key + ": neither true nor false: \"" + value + "\"");
  }
  return upper == "TRUE";
}

// The settings of one appender; every complaint names the full key.
class AppenderSettings {
 public:
  AppenderSettings(const LogProperties& properties, const std::string& name)
      : properties_(properties), name_(name), prefix_("appender." + name) {}

  const std::string& name() const { return name_; }

  // `key` begins with a dot; empty is the key of the appender itself.
  std::string text(std::string_view key, std::string_view fallback = {}) const {
    const auto found = properties_.find(prefix_ + std::string(key));
    return found == properties_.end() ? std::string(fallback) : found->second;
  }

  bool flag(std::string_view key, bool fallback) const {
    return parseFlag(prefix_ + std::string(key), text(key, fallback ? "true" : "false"));
  }

  unsigned number(std::string_view key, unsigned fallback, unsigned least, unsigned most) const {
    const std::string value = text(key, std::to_string(fallback));
    const char* end = value.data() + value.size();
    unsigned result = 0;
    const auto parsed = std::from_chars(value.data(), end, result);
    if (parsed.ec != std::errc() || parsed.ptr != end || result < least || result > most) {
      refuse(key, "no number from " + std::to_string(least) + " to " + std::to_string(most) +
                      ": \"" + value + "\"");
    }
    return result;
  }

  [[noreturn]] void refuse(std::string_view key, const std::string& reason) const {
    throw LogConfigurationError(prefix_ + std::string(key) + ": " + reason);
  }

 private:
  const LogProperties& properties_;
  const std::string& name_;
  std::string prefix_;
};

using AppenderPtr = std::unique_ptr<log4cpp::Appender>;

AppenderPtr makeConsoleAppender(const AppenderSettings& settings) {
  const auto target = toAsciiUpper(settings.text(".target", "stdout"));
  if (target != "STDOUT" && target != "STDERR") {
    settings.refuse(".target", "neither stdout nor stderr: \"" + target + "\"");
  }
  return std::make_unique<log4cpp::OstreamAppender>(settings.name(),
                                                    target == "STDERR" ? &std::cerr : &std::cout);
}

// `Appender` takes its name, the file's name, then `arguments`. It opens the file when it is made
// and keeps silent about a failure, so that is asked for afterwards.
template <class Appender, class... Arguments>
AppenderPtr makeFileAppender(const AppenderSettings& settings, Arguments... arguments) {
  const std::string file = settings.text(".fileName");
  if (file.empty()) settings.refuse(".fileName", "missing");
  // Opening a FIFO would wait for its reader.
  if (fileKind(pathFromText(file)) == FileKind::Other) {
    settings.refuse(".fileName", file + " is not a regular file");
  }
  auto appender = std::make_unique<Appender>(settings.name(), file, arguments...);
  if (!appender->reopen()) {
    const std::error_code error(errno, std::generic_category());
    settings.refuse(".fileName", file + ": " + error.message());
  }
  return appender;
}

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
        settings, settings.number(".maxDaysKeep", kDefaultDays, 0, kMaxDays),
        settings.flag(".append", true));
  }
  if (type == "SyslogAppender") {
    return std::make_unique<log4cpp::RemoteSyslogAppender>(
        settings.name(), settings.text(".syslogName", "sourcetype"),
        settings.text(".syslogHost", "localhost"), LOG_USER,
        static_cast<int>(settings.number(".portNumber", kSyslogPort, 1, 65535)));
  }
  if (type.empty()) settings.refuse("", "a category names this appender, but it has no type");
  settings.refuse("", "unknown appender type \"" + std::string(type) + "\"");
}

// Refuses what the back end takes and cannot handle: huge fields, times that overflow its buffer.
void checkPattern(const AppenderSettings& settings, std::string_view pattern) {
  constexpr std::string_view kKey = ".layout.ConversionPattern";
  while (true) {
    const auto percent = pattern.find('%');
    if (percent == std::string_view::npos) return;
    pattern.remove_prefix(percent + 1);
    std::size_t digits = 0;
    while (!pattern.empty() &&
           std::string_view("-.0123456789").find(pattern[0]) != std::string_view::npos) {
      digits = pattern[0] >= '0' ? digits + 1 : 0;
      if (digits > kMaxWidthDigits) settings.refuse(kKey, "field too wide");
      pattern.remove_prefix(1);
    }
    if (pattern.starts_with("d{")) {
      std::string format(pattern.substr(2, pattern.find('}') - 2));
      // The back end's own conversion for milliseconds; C libraries differ in what they make of it.
      if (const auto millis = format.find("%l"); millis != std::string::npos) {
        format.replace(millis, 2, "999");
      }
      std::array<char, kMaxTimeLength> buffer;
      const std::time_t now = std::time(nullptr);
      const std::tm* local = std::localtime(&now);  // NOLINT(concurrency-mt-unsafe): one thread
      if (std::strftime(buffer.data(), buffer.size(), format.c_str(), local) == 0) {
        settings.refuse(kKey, "a time that is empty or too long: \"" + format + "\"");
      }
    }
    pattern.remove_prefix(std::min<std::size_t>(pattern.size(), 1));
  }
}

std::unique_ptr<log4cpp::Layout> makePatternLayout(const AppenderSettings& settings,
                                                   const std::string& pattern) {
  checkPattern(settings, pattern);
  auto layout = std::make_unique<log4cpp::PatternLayout>();
  try {
    layout->setConversionPattern(pattern);
  } catch (const log4cpp::ConfigureFailure& error) {
    settings.refuse(".layout.ConversionPattern", error.what());
  }
  return layout;
}

std::unique_ptr<log4cpp::Layout> makeLayout(const AppenderSettings& settings) {
  const std::string value = settings.text(".layout");
  const auto type = typeName(value);
  if (type.empty()) return makePatternLayout(settings, kDefaultPattern);
  if (type == "BasicLayout") return std::make_unique<log4cpp::BasicLayout>();
  if (type == "SimpleLayout") return std::make_unique<log4cpp::SimpleLayout>();
  if (type == "PatternLayout") {
    return makePatternLayout(settings, settings.text(".layout.ConversionPattern", "%m%n"));
  }
  settings.refuse(".layout", "unknown layout type \"" + std::string(type) + "\"");
}

// A whole configuration, ready to be put in force. Owns the appenders.
class LogSetup {
 public:
  LogSetup() = default;

  // Throws LogConfigurationError.
  explicit LogSetup(const LogProperties& properties) {
    if (!properties.contains("rootCategory")) {
      throw LogConfigurationError("rootCategory is missing");
    }
    for (const auto& [key, value] : properties) {
      if (key == "rootCategory") {
        readCategory(properties, key, "", value);
      } else if (constexpr std::string_view kPrefix = "category."; key.starts_with(kPrefix)) {
        readCategory(properties, key, key.substr(kPrefix.size()), value);
      } else if (constexpr std::string_view kAdditivity = "additivity.";
                 key.starts_with(kAdditivity)) {
        category(key, key.substr(kAdditivity.size())).additive = parseFlag(key, value);
      }
    }
  }

  void putInForce() {
    for (const auto& [name, settings] : categories_) {
      auto& backEnd = log4cpp::Category::getInstance(name);
      backEnd.setPriority(settings.level);
      backEnd.setAdditivity(settings.additive);
      for (auto* appender : settings.appenders) backEnd.addAppender(*appender);
    }
  }

  // Back to how the categories were before putInForce().
  void withdraw() {
    for (const auto& [name, settings] : categories_) {
      auto& backEnd = log4cpp::Category::getInstance(name);
      backEnd.removeAllAppenders();
      backEnd.setAdditivity(true);
      if (!name.empty()) backEnd.setPriority(Priority::NOTSET);
    }
  }

 private:
  struct CategorySettings {
    int level = Priority::NOTSET;
    bool additive = true;
    std::vector<log4cpp::Appender*> appenders;  // owned by appenders_
  };

  // The settings of a category; the root's name is empty.
  CategorySettings& category(const std::string& key, const std::string& name) {
    if (key != "rootCategory" && (name.empty() || name.size() > kMaxCategoryName)) {
      throw LogConfigurationError(key.substr(0, kMaxCategoryName) +
                                  ": a category's name has 1 to " +
                                  std::to_string(kMaxCategoryName) + " bytes");
    }
    return categories_[name];
  }

  void readCategory(const LogProperties& properties, const std::string& key,
                    const std::string& name, const std::string& value) {
    auto& settings = category(key, name);
    const auto parts = splitAtCommas(value);
    if (!parts[0].empty()) settings.level = parseLevel(key, parts[0]);
    if (name.empty() && settings.level == Priority::NOTSET) {
      throw LogConfigurationError(key + ": names no level");
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
      if (!parts[i].empty()) settings.appenders.push_back(&appender(properties, parts[i]));
    }
  }

  // Made when it is first asked for: what no category names opens no file.
  log4cpp::Appender& appender(const LogProperties& properties, const std::string& name) {
    auto& known = appenders_[name];
    if (!known) {
      const AppenderSettings settings(properties, name);
      auto layout = makeLayout(settings);
      auto made = makeAppender(settings);
      if (const auto level = settings.text(".threshold"); !level.empty()) {
        made->setThreshold(parseLevel("appender." + name + ".threshold", level));
      }
      made->setLayout(layout.release());  // the appender owns it
      known = std::move(made);
    }
    return *known;
  }

  std::map<std::string, AppenderPtr> appenders_;
  std::map<std::string, CategorySettings> categories_;
};

// The configuration in force, for the life of the process: the back end, too, is one per process.
class ActiveSetup {
 public:
  // The back end is made first, so that it outlives this.
  ActiveSetup() { log4cpp::Category::getRoot(); }
  ActiveSetup(const ActiveSetup&) = delete;
  ActiveSetup& operator=(const ActiveSetup&) = delete;
  ~ActiveSetup() { setup_.withdraw(); }

  // `make` gives the LogSetup. While it runs nothing is in force: two appenders of one name or file
  // would get in each other's way.
  template <class Make>
  void replace(const Make& make) {
    setup_.withdraw();
    setup_ = LogSetup();
    setup_ = make();
    setup_.putInForce();
  }

 private:
  LogSetup setup_;
};

Priority::Value priorityOf(LogLevel level) {
  switch (level) {
    case LogLevel::Debug:
      return Priority::DEBUG;
    case LogLevel::Info:
      return Priority::INFO;
    case LogLevel::Warn:
      return Priority::WARN;
    case LogLevel::Error:
      break;
  }
  return Priority::ERROR;
}

}  // namespace

bool LogCategory::isEnabled(LogLevel level) const {
  const int callersError = errno;
  const bool enabled = backEnd().isPriorityEnabled(priorityOf(level));
  errno = callersError;
  return enabled;
}

void LogCategory::write(LogLevel level, const std::string& record) const {
  backEnd().log(priorityOf(level), record);
}

log4cpp::Category& LogCategory::backEnd() const {
  log4cpp::Category* found = backEnd_;
  if (found == nullptr) backEnd_ = found = &log4cpp::Category::getInstance(name_);
  return *found;
}

std::string configureLogging(const std::filesystem::path& file,
                             const std::map<std::string, std::string>& variables) {
  static ActiveSetup active;
  try {
    active.replace([&] { return LogSetup(readLogProperties(file, variables)); });
    return {};
  } catch (const std::exception& error) {
    active.replace([] { return LogSetup(defaultProperties()); });
    return formatText(
        "Cannot use the logging configuration %s (%s). Warnings and errors go to "
        "standard error.",
        pathToText(file), std::string_view(error.what()));
  }
}

}  // namespace sourcetype
