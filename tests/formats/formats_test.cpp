// The bundled configuration on made-up logs of every format it knows, and on texts that are no log.

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "conf/conf_store.h"
#include "support/process.h"
#include "timestamp/datetime_file.h"
#include "timestamp/instant_text.h"
#include "timestamp/timestamp_parser.h"
#include "timestamp/xml_libraries.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Installation;
using sourcetype::testing::valueOf;

struct Made {
  std::string name;
  std::string sourcetype;
  std::string end;  // the instant, "-" for a log whose lines do not say the date
};

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

// Writes the logs of templates into the directory "logs".
std::vector<Made> makeLogs(const Installation& server, const std::string& templates) {
  std::filesystem::create_directory(server.path("logs"));
  const auto run = server.runProgram(SAMPLE_LOGS_EXECUTABLE,
                                     {std::string(FORMATS_DIR) + "/" + templates, "logs"});
  EXPECT_EQ(run.err, "");
  std::vector<Made> logs;
  for (const auto& line : linesOf(run.out)) {
    std::istringstream stream(line);
    Made& log = logs.emplace_back();
    stream >> log.name >> log.sourcetype >> log.end;
  }
  return logs;
}

std::string logOf(const Made& log) {
  return "logs/" + log.name + ".log";
}

// What a file is recognised as by an installation that has learned nothing.
std::string recognisedAs(const Installation& server, const Made& log) {
  const Installation fresh;
  const auto out = fresh.run({server.path(logOf(log)).native()}).out;
  return valueOf(out, "sourcetype");
}

// The same for many files at once, but for delayed rules.
std::map<std::string, std::string> recognisedAtOnce(const Installation& server,
                                                    const std::vector<Made>& logs) {
  std::string names;
  for (const auto& log : logs) names += logOf(log) + "\n";
  std::map<std::string, std::string> verdicts;
  for (const auto& line : linesOf(server.run({"manyfiles"}, names).out)) {
    std::string word;
    std::string name;
    std::istringstream stream(line);
    stream >> word >> name;
    if (word == "Classified") stream >> verdicts[name];
  }
  return verdicts;
}

bool isDelayed(const std::string& sourcetype) {
  return sourcetype.starts_with("lines_") || sourcetype.starts_with("columns_");
}

TEST(Formats, AreEachRecognised) {
  const Installation server;
  const auto logs = makeLogs(server, "logs");
  EXPECT_GE(logs.size(), 90U);
  auto verdicts = recognisedAtOnce(server, logs);
  for (const auto& log : logs) {
    auto& verdict = verdicts[logOf(log)];
    if (isDelayed(log.sourcetype)) verdict = recognisedAs(server, log);
    EXPECT_EQ(verdict, log.sourcetype) << log.name;
  }
}

// The settings that ship, read once.
class Bundled {
 public:
  const Installation& server() const { return server_; }
  const TimestampFormats& formats() const { return formats_; }

  PropertiesMap settingsOf(const std::string& sourcetype) {
    PropertiesMap settings;
    store_.getExactStanza(store_.getProps(), settings, sourcetype);
    return settings;
  }

 private:
  Installation server_;
  ConfStore store_{server_.path("etc")};
  XmlLibraries xmlLibraries_;
  TimestampFormats formats_ = readDatetimeFile(server_.path("etc/datetime.xml"));
};

// The share of lines whose instant is as expected, in percent. Only the first `maxBytes` of a line
// are parsed.
std::size_t percentAgreeing(Bundled& bundled, const Made& log, const PropertiesMap& settings,
                            std::size_t maxBytes) {
  const auto read = [&](const char* extension) {
    return linesOf(bundled.server().read("logs/" + log.name + extension));
  };
  const auto end = std::chrono::sys_seconds(std::chrono::seconds(std::stoll(log.end)));
  TimestampParser parser(bundled.formats(), settings, log.name, end);
  const auto events = read(".events");
  const auto instants = read(".times");
  EXPECT_EQ(events.size(), instants.size()) << log.name;
  std::size_t count = 0;
  for (std::size_t i = 0; i < std::min(events.size(), instants.size()); ++i) {
    const auto stamp = parser.parse(std::string_view(events[i]).substr(0, maxBytes));
    if (stamp && stamp->seconds == std::stoll(instants[i])) ++count;
  }
  return count * 100 / std::max<std::size_t>(events.size(), 1);
}

// The lookahead counts from the end of TIME_PREFIX or, for some readers of these settings, from the
// start of the line. The shipped ones hold for both.
TEST(Formats, TellTheInstantsOfTheirEvents) {
  Bundled bundled;
  for (const auto& log : makeLogs(bundled.server(), "logs")) {
    if (log.end == "-") continue;
    const auto settings = bundled.settingsOf(log.sourcetype);
    const auto lookahead = std::stoul(settings.get("MAX_TIMESTAMP_LOOKAHEAD"));
    EXPECT_GE(percentAgreeing(bundled, log, settings, std::string::npos), 95U) << log.name;
    EXPECT_GE(percentAgreeing(bundled, log, settings, lookahead), 95U) << log.name;
  }
}

// One odd line in twenty may look like the begin of an event.
TEST(Formats, SayWhereEventsOfSeveralLinesBegin) {
  Bundled bundled;
  const Installation& server = bundled.server();
  for (const auto& log : makeLogs(server, "logs")) {
    const auto settings = bundled.settingsOf(log.sourcetype);
    const auto expression = settings.tryGet("BREAK_ONLY_BEFORE");
    EXPECT_EQ(settings.get("SHOULD_LINEMERGE"), expression ? "True" : "False") << log.name;
    if (!expression) continue;
    const Regex begin(*expression);
    const auto matches = [&](const std::string& line) { return begin.match(line); };
    const auto events = linesOf(server.read("logs/" + log.name + ".events"));
    EXPECT_TRUE(std::ranges::all_of(events, matches)) << log.name;
    const auto lines = linesOf(server.read(logOf(log)));
    const auto begins = std::ranges::count_if(lines, matches);
    EXPECT_LE(static_cast<std::size_t>(begins), events.size() * 11 / 10) << log.name;
  }
}

TEST(Texts, ThatAreNoLogGetNoBundledSourcetype) {
  const Installation server;
  std::set<std::string> bundled;
  for (const auto& log : makeLogs(server, "logs")) bundled.insert(log.sourcetype);
  const auto texts = makeLogs(server, "texts.txt");
  EXPECT_GE(texts.size(), 20U);
  for (const auto& text : texts) {
    EXPECT_FALSE(bundled.contains(recognisedAs(server, text))) << text.name;
  }
}

struct JsonLine {
  std::string instant;
  std::string text;
};

// Lines of the file: instant, tab, JSON; "<pad>" in it stands for 3000 letters.
std::vector<JsonLine> jsonLines() {
  std::ifstream file(std::string(FORMATS_DIR) + "/json_lines.txt");
  std::vector<JsonLine> lines;
  for (std::string line; std::getline(file, line);) {
    const auto tab = line.find('\t');
    if (line.starts_with('#') || tab == std::string::npos) continue;
    auto& entry = lines.emplace_back();
    entry.instant = line.substr(0, tab);
    entry.text = line.substr(tab + 1);
    constexpr std::string_view kPad = "<pad>";
    for (auto at = entry.text.find(kPad); at != std::string::npos; at = entry.text.find(kPad)) {
      entry.text.replace(at, kPad.size(), std::string(3000, 'x'));
    }
  }
  return lines;
}

TEST(JsonLines, HaveTheTimeOfTheirEvent) {
  Bundled bundled;
  const auto lines = jsonLines();
  ASSERT_GE(lines.size(), 60U);
  TimestampParser parser(bundled.formats(), bundled.settingsOf("lines_json"), "lines.json",
                         *instantFromText("2024-03-06T00:00:00Z"));
  for (const auto& line : lines) {
    const auto stamp = parser.parse(line.text);
    const auto instant =
        stamp ? instantText(stamp->seconds, stamp->nanoseconds).substr(0, 19) : std::string("-");
    EXPECT_EQ(instant, line.instant) << line.text.substr(0, 200);
  }
}

}  // namespace
}  // namespace sourcetype
