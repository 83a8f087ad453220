// The configuration of logging, and records under it. Input: the property file, its "-local"
// sibling, what ${ROOT} stands for beside the working directory, and a record.
//
// Nothing may be written outside that directory, nor sent: an input that names another place, or
// syslog, is not tried.
#include <algorithm>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include "support.h"
#include "util/log_configuration.h"
#include "util/log_properties.h"
#include "util/logging.h"

namespace sourcetype::fuzzing {
namespace {

using Variables = std::map<std::string, std::string>;

constexpr LogCategory kLog{"Fuzz.logging"};

// What console appenders write.
std::ostringstream& console() {
  static std::ostringstream stream;
  return stream;
}

void catchConsole() {
  std::cout.rdbuf(console().rdbuf());
  std::cerr.rdbuf(console().rdbuf());
}

using Values = std::map<std::string, std::string, std::less<>>;

struct Read {
  Values values;
  bool isFaultless;
};

Read readValues(const char* file, const Variables& variables) {
  LogComplaints complaints;
  Values values;
  for (const auto& [key, setting] : readLogProperties(file, variables, complaints)) {
    values.emplace(key, setting.value);
  }
  return {.values = std::move(values), .isFaultless = complaints.empty()};
}

// Whether any appender made of these values writes below the working directory or not at all.
bool staysHere(const Values& properties) {
  return std::ranges::all_of(properties, [](const auto& property) {
    const std::string& value = property.second;
    const auto isIn = [&](std::string_view text) {
      return value.find(text) != std::string_view::npos;
    };
    return !isIn("/") && !isIn("..") && !isIn("Syslog");
  });
}

// The back end keeps every category that was ever named.
bool namesFewCategories(const Values& properties) {
  constexpr std::size_t kMost = 50'000;
  static std::set<std::string, std::less<>> seen;
  for (const auto& [key, value] : properties) {
    if (seen.size() < kMost) seen.insert(key);
    if (!seen.contains(key)) return false;
  }
  return true;
}

void logAll(std::string_view record) {
  logDebug(kLog, "%s", record);
  logInfo(kLog, "%s", record);
  logWarn(kLog, "%s", record);
  logError(kLog, "%s", record);
}

}  // namespace

std::vector<std::string> seeds() {
  std::string shipped = repositoryFile("etc/log-cmdline.cfg");
  return {
      joined({shipped, "", "", "record"}),
      joined({"rootCategory=DEBUG,A,B\nappender.A=FileAppender\nappender.A.fileName=${ROOT}a.log\n"
              "appender.A.append=false\nappender.B=ConsoleAppender\n"
              "category.Fuzz=INFO,A # comment\nadditivity.Fuzz=false\n",
              "log4cpp.appender.B.threshold=WARN\nappender.A.layout=PatternLayout\n"
              "appender.A.layout.ConversionPattern=%d{%Y %l} %-5p [%c] %20.5m%n%%\n",
              "x", "two\nlines"}),
      joined({"rootCategory=ERROR,R,D\nappender.R=org.x.RollingFileAppender\n"
              "appender.R.fileName=r\nappender.R.maxFileSize=10\nappender.R.maxBackupIndex=3\n"
              "appender.D=DailyRollingFileAppender\nappender.D.fileName=d\n"
              "appender.D.maxDaysKeep=1\n",
              "rootCategory=DEBUG,R\nappender.R.layout=SimpleLayout\n", "", "\xFF\x1B[0m"}),
      joined(
          {"\xEF\xBB\xBFrootCategory=WARN\r\ncategory.a.b.c=\r\nlog4j.x=${ROOT\n", "=", "", ""})};
}

void run(std::string_view input) {
  catchConsole();
  Parts parts(input);
  configureLogging("", {});  // closes the files of the input before
  tree().clear();
  const auto general = parts.next();
  const auto local = parts.next();
  const Variables variables{{"ROOT", std::string(parts.next())}};
  const std::string record(parts.next());
  tree().write("log.cfg", general);
  tree().write("log-local.cfg", local);
  tree().write("general.cfg", general);
  tree().write("local.cfg", local);

  const auto [values, isFaultless] = readValues("log.cfg", variables);
  const auto alone = readValues("general.cfg", variables);
  auto expected = readValues("local.cfg", variables);
  if (alone.isFaultless && expected.isFaultless) {
    expected.values.insert(alone.values.begin(), alone.values.end());
    require(values == expected.values, "local settings are laid over the others");
  }
  if (!staysHere(values) || !namesFewCategories(values)) return;

  console().str({});
  const auto problems = configureLogging("log.cfg", variables);
  require(isFaultless || !problems.empty(), "what cannot be read is said");
  for (const auto problem : linesOf(problems)) {
    require(problem.starts_with("log.cfg: ") || problem.starts_with("log-local.cfg: "),
            "what is wrong is said in a line that names the file");
  }
  logAll(record);
  const auto text = console().str();
  if (!values.empty()) return;
  require(text.find(" WARN ") != std::string_view::npos &&
              text.find(" ERROR ") != std::string_view::npos && std::ranges::count(text, '\n') == 2,
          "without a usable configuration warnings and errors go to the console, a line each");
}

}  // namespace sourcetype::fuzzing
