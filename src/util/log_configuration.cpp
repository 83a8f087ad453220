// The configuration of the logging back end. The back end's own configurator is not used: see
// docs/decisions.md.
#include "util/log_configuration.h"

#include <log4cpp/Appender.hh>
#include <log4cpp/Category.hh>
#include <log4cpp/Priority.hh>

#include <memory>
#include <utility>
#include <vector>

#include "util/log_appenders.h"
#include "util/log_properties.h"
#include "util/log_values.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using log4cpp::Priority;

// Bytes. The back end recurses once for each dot in a category's name.
constexpr std::size_t kMaxCategoryName = 200;

// A whole configuration, ready for use. Owns the appenders.
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

  // Undoes putInForce().
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

  // The settings of the category that a key names; the root's name is empty. Null if the name is
  // refused.
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
    const auto flag = parseLogFlag(setting.value);
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
    std::vector<std::string> parts;
    for (const auto part : split(setting.value, ",")) parts.emplace_back(trimBlanks(part));
    const auto level = parts[0].empty() ? Priority::NOTSET : parseLogLevel(parts[0]);
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

  // Makes the appender at its first use, so that an appender that no category names opens no file.
  // Null if it cannot be used.
  log4cpp::Appender* appender(const LogProperties& properties, const std::string& name,
                              LogComplaints& complaints) {
    const auto [known, isNew] = appenders_.try_emplace(name);
    if (isNew) known->second = makeLogAppender(properties, name, complaints);
    return known->second.get();
  }

  // A fault loses no record. If it leaves a category without an appender, the root's appenders take
  // the records; if it leaves the root without one, standard error does.
  void replaceWhatIsMissing() {
    auto& root = categories_[""];
    if (root.level == Priority::NOTSET) root.level = Priority::WARN;
    for (auto& [name, settings] : categories_) {
      if (!settings.isFaulty || !settings.appenders.empty()) continue;
      settings.additive = true;
      if (name.empty()) settings.appenders.push_back(&fallbackAppender());
    }
  }

  log4cpp::Appender& fallbackAppender() {
    auto made = makeFallbackLogAppender();
    auto& entry = appenders_[made->getName()];
    entry = std::move(made);
    return *entry;
  }

  std::map<std::string, std::unique_ptr<log4cpp::Appender>> appenders_;
  std::map<std::string, CategorySettings> categories_;
};

// The configuration in use. There is one for the whole process, as there is one back end.
class ActiveSetup {
 public:
  // The back end is made first, so that it outlives this.
  ActiveSetup() { log4cpp::Category::getRoot(); }
  ActiveSetup(const ActiveSetup&) = delete;
  ActiveSetup& operator=(const ActiveSetup&) = delete;
  ~ActiveSetup() { setup_.withdraw(); }

  // `make` returns the new LogSetup. The old one is withdrawn before, because two appenders with
  // one name or file would conflict.
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

}  // namespace

std::string configureLogging(const std::filesystem::path& file,
                             const std::map<std::string, std::string>& variables) {
  static ActiveSetup active;
  LogComplaints complaints;
  const auto properties = readLogProperties(file, variables, complaints);
  // Another complaint may be the reason why it is missing.
  if (!properties.contains("rootCategory") && complaints.empty()) {
    complaints.add(file, "rootCategory is missing");
  }
  active.replace([&] { return LogSetup(properties, complaints); });
  return complaints.text();
}

}  // namespace sourcetype
