// Shows the timestamp of each line of a file, as the recogniser sees it.

#include <fmt/core.h>

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <stdexcept>
#include <string>
#include <system_error>

#include "conf/conf_store.h"
#include "platform/entry_point.h"
#include "platform/environment.h"
#include "platform/path_form.h"
#include "timestamp/datetime_file.h"
#include "timestamp/instant_text.h"
#include "timestamp/timestamp_parser.h"
#include "timestamp/xml_libraries.h"
#include "util/log_configuration.h"

namespace sourcetype {
namespace {

constexpr int kUsage = 1;
constexpr int kFailure = 2;

constexpr const char* kUsageText =
    "usage: timestamps [--home DIR] [--sourcetype NAME] [--set KEY=VALUE]... [--reference TIME] "
    "[FILE]\n"
    "\n"
    "For each line of FILE, or of standard input, prints where its timestamp stands and which\n"
    "instant it names: start and end of the stamp or of the time of day, start and end of a date\n"
    "that stands apart from it (bytes from the line's start, end exclusive, -1 when there is "
    "none),\n"
    "the instant in UTC, with tabs between them. A line without a timestamp gives \"-\".\n"
    "\n"
    "  --home DIR         the installation; $TARNEL_HOME when not given\n"
    "  --sourcetype NAME  with the settings of this sourcetype\n"
    "  --set KEY=VALUE    with this setting in place of the sourcetype's\n"
    "  --reference TIME   what ages are counted from, such as 2024-06-15T12:00:00Z; now when not\n"
    "                     given\n";

class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct Options {
  std::optional<std::filesystem::path> home;
  std::optional<std::filesystem::path> file;
  std::string sourcetype;
  PropertiesMap settings;
  std::chrono::sys_seconds reference =
      std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  bool help = false;
};

void set(Options& options, const std::string& assignment) {
  const auto equals = assignment.find('=');
  if (equals == std::string::npos || equals == 0) {
    throw UsageError("\"" + assignment + "\" is not KEY=VALUE");
  }
  options.settings.set(assignment.substr(0, equals), assignment.substr(equals + 1));
}

Options optionsFrom(std::span<const Argument> arguments) {
  Options options;
  options.home = environmentPath("TARNEL_HOME");
  bool onlyFiles = false;
  for (std::size_t i = 1; i < arguments.size(); ++i) {
    const auto& word = arguments[i].text;
    const auto value = [&]() -> const Argument& {
      if (++i == arguments.size()) throw UsageError(word + " needs a value");
      return arguments[i];
    };
    if (onlyFiles || word == "-" || !word.starts_with('-')) {
      if (options.file) throw UsageError("more than one file is given");
      options.file = arguments[i].path;
    } else if (word == "--") {
      onlyFiles = true;
    } else if (word == "--help" || word == "-h") {
      options.help = true;
    } else if (word == "--home") {
      options.home = value().path;
    } else if (word == "--sourcetype") {
      options.sourcetype = value().text;
    } else if (word == "--set") {
      set(options, value().text);
    } else if (word == "--reference") {
      const auto& text = value().text;
      const auto time = instantFromText(text);
      if (!time) throw UsageError("\"" + text + "\" is not a time such as 2024-06-15T12:00:00Z");
      options.reference = *time;
    } else {
      throw UsageError("the option " + word + " is unknown");
    }
  }
  if (!options.help && !options.home) throw UsageError("neither --home nor TARNEL_HOME is given");
  return options;
}

PropertiesMap settingsOf(const Options& options, ConfStore& store) {
  PropertiesMap settings = options.settings;
  if (!options.sourcetype.empty()) {
    const std::span names(&options.sourcetype, 1);
    store.getStanzaSettings(store.getProps(), settings, names, PatternMatching::No);
  }
  return settings;
}

void printStamps(std::istream& lines, TimestampParser& parser) {
  for (std::string line; std::getline(lines, line);) {
    if (line.ends_with('\r')) line.pop_back();
    const auto stamp = parser.parse(line);
    if (!stamp) {
      fmt::print("-\n");
      continue;
    }
    fmt::print("{}\t{}\t{}\t{}\t{}\n", stamp->main.start, stamp->main.end, stamp->second.start,
               stamp->second.end, instantText(stamp->seconds, stamp->nanoseconds));
  }
}

int run(const Options& options) {
  if (options.help) {
    fmt::print("{}", kUsageText);
    return 0;
  }
  configureLogging("", {});
  ConfStore store(*options.home / "etc");
  const XmlLibraries xmlLibraries;
  const auto formats = readDatetimeFile(store.root() / "datetime.xml");
  const bool fromStandardInput = !options.file || *options.file == "-";
  TimestampParser parser(formats, settingsOf(options, store),
                         fromStandardInput ? "standard input" : pathToText(*options.file),
                         options.reference);
  if (fromStandardInput) {
    printStamps(std::cin, parser);
  } else {
    std::ifstream file(*options.file, std::ios::binary);
    if (!file) throw std::system_error(errno, std::generic_category(), pathToText(*options.file));
    printStamps(file, parser);
    if (file.bad()) throw std::runtime_error(pathToText(*options.file) + ": cannot be read");
  }
  if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "stdout");
  return 0;
}

}  // namespace

int programMain(std::span<const Argument> arguments) try {
  return run(optionsFrom(arguments));
} catch (const UsageError& error) {
  fmt::print(stderr, "timestamps: {}\n{}", error.what(), kUsageText);
  return kUsage;
} catch (const std::exception& error) {
  fmt::print(stderr, "timestamps: {}\n", error.what());
  return kFailure;
}

}  // namespace sourcetype
