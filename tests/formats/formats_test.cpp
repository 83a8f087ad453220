// The bundled configuration on made-up logs of every format it knows, and on texts that are no log.

#include <gtest/gtest.h>

#include <algorithm>
#include <charconv>
#include <fstream>
#include <map>
#include <set>
#include <sstream>

#include "support/process.h"
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

// Instants of a file of numbers, and of the program's "2024-03-05T10:00:00Z".
std::size_t countAgreeing(const std::vector<std::string>& expected,
                          const std::vector<std::string>& shown) {
  EXPECT_EQ(expected.size(), shown.size());
  std::size_t count = 0;
  for (std::size_t i = 0; i < std::min(expected.size(), shown.size()); ++i) {
    std::tm fields{};
    const auto tab = shown[i].rfind('\t');
    if (tab == std::string::npos) continue;
    if (strptime(shown[i].c_str() + tab + 1, "%Y-%m-%dT%H:%M:%S", &fields) == nullptr) continue;
    if (std::to_string(timegm(&fields)) == expected[i]) ++count;
  }
  return count;
}

TEST(Formats, TellTheInstantsOfTheirEvents) {
  const Installation server;
  for (const auto& log : makeLogs(server, "logs")) {
    if (log.end == "-") continue;
    std::time_t end = 0;
    std::from_chars(log.end.data(), log.end.data() + log.end.size(), end);
    std::array<char, 40> reference{};
    std::tm fields{};
    std::strftime(reference.data(), reference.size(), "%Y-%m-%dT%H:%M:%SZ",
                  gmtime_r(&end, &fields));
    const auto run = server.runProgram(
        TIMESTAMPS_EXECUTABLE, {"--sourcetype", log.sourcetype, "--reference", reference.data(),
                                "logs/" + log.name + ".events"});
    EXPECT_EQ(run.err, "") << log.name;
    const auto expected = linesOf(server.read("logs/" + log.name + ".times"));
    EXPECT_GE(countAgreeing(expected, linesOf(run.out)) * 100, expected.size() * 95) << log.name;
  }
}

// One odd line in twenty may look like the begin of an event.
TEST(Formats, SayWhereEventsOfSeveralLinesBegin) {
  const Installation server;
  for (const auto& log : makeLogs(server, "logs")) {
    const auto settings = server.run({"settings", log.sourcetype}).out;
    const auto expression = valueOf(settings, "BREAK_ONLY_BEFORE");
    const bool isMerged = expression != "(absent)";
    EXPECT_EQ(valueOf(settings, "SHOULD_LINEMERGE"), isMerged ? "True" : "False") << log.name;
    if (!isMerged) continue;
    const Regex begin(expression);
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
  const Installation server;
  const auto lines = jsonLines();
  ASSERT_GE(lines.size(), 60U);
  std::string texts;
  for (const auto& line : lines) texts += line.text + "\n";
  server.write("lines.json", texts);
  const auto run = server.runProgram(
      TIMESTAMPS_EXECUTABLE,
      {"--sourcetype", "lines_json", "--reference", "2024-03-06T00:00:00Z", "lines.json"});
  EXPECT_EQ(run.err, "");
  const auto shown = linesOf(run.out);
  ASSERT_EQ(shown.size(), lines.size());
  for (std::size_t i = 0; i < lines.size(); ++i) {
    const auto tab = shown[i].rfind('\t');
    const auto instant = tab == std::string::npos ? shown[i] : shown[i].substr(tab + 1, 19);
    EXPECT_EQ(instant, lines[i].instant) << lines[i].text.substr(0, 200);
  }
}

}  // namespace
}  // namespace sourcetype
