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
#include <optional>
#include <vector>

#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/log_properties.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using log4cpp::Priority;

// The layout of an appender that names none, or one that cannot be used.
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

// The appender that is made when a configuration has none. No other one has a comma in its name.
constexpr const char* kStandardError = "standard error,";

std::optional<unsigned> parseNumber(std::string_view text, unsigned least, unsigned most) {
  const char* end = text.data() + text.size();
  unsigned result = 0;
  const auto parsed = std::from_chars(text.data(), end, result);
  const bool isNumber = parsed.ec == std::errc() && parsed.ptr == end;
  return isNumber && result >= least && result <= most ? std::optional(result) : std::nullopt;
}

// By its name, or by its number in the back end's scale (0 for EMERG, 800 for NOTSET).
std::optional<Priority::Value> parseLevel(std::string_view text) {
  constexpr std::array<std::string_view, 10> kNames{"EMERG", "FATAL",  "ALERT", "CRIT",  "ERROR",
                                                    "WARN",  "NOTICE", "INFO",  "DEBUG", "NOTSET"};
  const auto upper = toAsciiUpper(text);
  if (std::ranges::find(kNames, upper) != kNames.end()) return Priority::getPriorityValue(upper);
  return parseNumber(text, Priority::EMERG, Priority::NOTSET);
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

std::optional<bool> parseFlag(std::string_view text) {
  const auto upper = toAsciiUpper(text);
  if (upper == "TRUE") return true;
  if (upper == "FALSE") return false;
  return std::nullopt;
}

// The settings of one appender. A value that cannot be used is complained of, by its full key, and
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

  // `key` begins with a dot; empty is the key of the appender itself.
  std::string text(std::string_view key, std::string_view fallback = {}) const {
    const auto found = properties_.find(prefix_ + std::string(key));
    return found == properties_.end() ? std::string(fallback) : found->second.value;
  }

  bool flag(std::string_view key, bool fallback) const {
    const auto value = text(key, fallback ? "true" : "false");
    const auto result = parseFlag(value);
    if (!result) complain(key, "neither true nor false: " + inQuotes(value));
    return result.value_or(fallback);
  }

  unsigned number(std::string_view key, unsigned fallback, unsigned least, unsigned most) const {
    const std::string value = text(key, std::to_string(fallback));
    const auto result = parseNumber(value, least, most);
    if (!result) {
      complain(key, "no number from " + std::to_string(least) + " to " + std::to_string(most) +
                        ": " + inQuotes(value));
    }
    return result.value_or(fallback);
  }

  // A key that is missing is told with the file that the appender's type stands in.
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
  // In doubt not between the results.
  return std::make_unique<log4cpp::OstreamAppender>(settings.name(),
                                                    target == "STDOUT" ? &std::cout : &std::cerr);
}

// `Appender` takes its name, the file's name, then `arguments`. It opens the file when it is made
// and keeps silent about a failure, so that is asked for afterwards. Null when it cannot be opened.
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
        settings, settings.number(".maxDaysKeep", kDefaultDays, 0, kMaxDays),
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

// What the back end takes and cannot handle: huge fields, times that overflow its buffer. Empty
// when there is nothing of that.
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
      // The back end's own conversion for milliseconds; C libraries differ in what they make of it.
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

// A whole configuration, ready to be put in force. Owns the appenders.
class LogSetup {
 public:
  LogSetup() = default;

  LogSetup(const LogProperties& properties, LogComplaints& complaints) {
    for (const auto& [key, setting] : properties) {
      if (key == "rootCategory" || key.starts_with("category.")) {
        readCategory(properties, key, setting, complaints);
      } else if (key.starts_with("additivity.")) {
        readAdditivity(key, setting, complaints);
      }
    }
    categories_[""].isFaulty |= !properties.contains("rootCategory");
    replaceWhatIsMissing();
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
    bool isFaulty = false;                      // some of its line could not be used
    std::vector<log4cpp::Appender*> appenders;  // owned by appenders_
  };

  // The settings of the category that a key names; the root's name is empty. Null when it can be
  // none.
  CategorySettings* category(const std::string& key, const LogSetting& setting,
                             LogComplaints& complaints) {
    if (key == "rootCategory") return &categories_[""];
    const auto name = key.substr(key.find('.') + 1);
    if (!name.empty() && name.size() <= kMaxCategoryName) return &categories_[name];
    complaints.add(setting.file, key.substr(0, kMaxCategoryName) + ": a category's name has 1 to " +
                                     std::to_string(kMaxCategoryName) + " bytes");
    return nullptr;
  }

  void readAdditivity(const std::string& key, const LogSetting& setting,
                      LogComplaints& complaints) {
    auto* settings = category(key, setting, complaints);
    if (settings == nullptr) return;
    const auto flag = parseFlag(setting.value);
    if (!flag) {
      complaints.add(setting.file, key + ": neither true nor false: " + inQuotes(setting.value));
    }
    settings->additive = flag.value_or(true);
  }

  void readCategory(const LogProperties& properties, const std::string& key,
                    const LogSetting& setting, LogComplaints& complaints) {
    auto* settings = category(key, setting, complaints);
    if (settings == nullptr) return;
    const auto complain = [&](const std::string& reason) {
      settings->isFaulty = true;
      complaints.add(setting.file, key + ": " + reason);
    };
    const auto parts = splitAtCommas(setting.value);
    const auto level = parts[0].empty() ? Priority::NOTSET : parseLevel(parts[0]);
    settings->level = level.value_or(Priority::NOTSET);
    if (!level) {
      complain("unknown level " + inQuotes(parts[0]));
    } else if (key == "rootCategory" && level == Priority::NOTSET) {
      complain("names no level");
    }
    for (std::size_t i = 1; i < parts.size(); ++i) {
      if (parts[i].empty()) continue;
      if (!properties.contains("appender." + parts[i])) {
        complain("names the appender " + inQuotes(parts[i]) + ", which has no type");
      } else if (auto* made = appender(properties, parts[i], complaints)) {
        settings->appenders.push_back(made);
      } else {
        settings->isFaulty = true;
      }
    }
  }

  // Made when it is first asked for: what no category names opens no file. Null when it cannot be
  // used.
  log4cpp::Appender* appender(const LogProperties& properties, const std::string& name,
                              LogComplaints& complaints) {
    const auto [known, isNew] = appenders_.try_emplace(name);
    if (isNew) known->second = makeWithLayout(AppenderSettings(properties, name, complaints));
    return known->second.get();
  }

  static AppenderPtr makeWithLayout(const AppenderSettings& settings) try {
    auto made = makeAppender(settings);
    if (made == nullptr) return nullptr;
    if (const auto value = settings.text(".threshold"); !value.empty()) {
      const auto level = parseLevel(value);
      if (!level) settings.complain(".threshold", "unknown level " + inQuotes(value));
      made->setThreshold(level.value_or(Priority::NOTSET));
    }
    made->setLayout(makeLayout(settings).release());  // the appender owns it
    return made;
  } catch (const std::exception& error) {
    settings.complain("", error.what());
    return nullptr;
  }

  // No record is lost for a fault: where it leaves a category no appender, the root's take the
  // records, and standard error those of the root.
  void replaceWhatIsMissing() {
    auto& root = categories_[""];
    if (root.level == Priority::NOTSET) root.level = Priority::WARN;
    for (auto& [name, settings] : categories_) {
      if (!settings.isFaulty || !settings.appenders.empty()) continue;
      settings.additive = true;
      if (name.empty()) settings.appenders.push_back(&standardError());
    }
  }

  log4cpp::Appender& standardError() {
    auto layout = std::make_unique<log4cpp::PatternLayout>();
    layout->setConversionPattern(kDefaultPattern);
    auto& made = appenders_[kStandardError];
    made = std::make_unique<log4cpp::OstreamAppender>(kStandardError, &std::cerr);
    made->setLayout(layout.release());  // the appender owns it
    return *made;
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
  LogComplaints complaints;
  const auto properties = readLogProperties(file, variables, complaints);
  // What is told already may be the reason why it is missing.
  if (!properties.contains("rootCategory") && complaints.empty()) {
    complaints.add(file, "rootCategory is missing");
  }
  active.replace([&] { return LogSetup(properties, complaints); });
  return complaints.text();
}

}  // namespace sourcetype
