// The table of log lines in lines.txt, whose head says how it is written.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "timestamp/datetime_file.h"
#include "timestamp/instant_text.h"
#include "timestamp/timestamp_parser.h"

namespace sourcetype {
namespace {

constexpr const char* kFile = SOURCETYPE_TESTS_DIR "/timestamp/lines.txt";
constexpr const char* kReference = "2024-06-15T12:00:00Z";

std::string replaced(std::string text, std::string_view from, std::string_view to) {
  for (auto at = text.find(from); at != text.npos; at = text.find(from, at)) {
    text.replace(at, from.size(), to);
  }
  return text;
}

std::string withoutMarks(std::string text) {
  for (const auto* mark : {"«", "»", "‹", "›"}) text = replaced(text, mark, "");
  return text;
}

// The line with marks where the stamp is.
std::string withMarks(std::string line, const Timestamp& stamp) {
  std::vector<std::pair<std::ptrdiff_t, const char*>> marks{{stamp.main.end, "»"},
                                                            {stamp.main.start, "«"},
                                                            {stamp.second.end, "›"},
                                                            {stamp.second.start, "‹"}};
  // From right to left, so that no mark shifts the place of another one.
  std::ranges::stable_sort(marks, std::greater(), [](const auto& mark) { return mark.first; });
  for (const auto& [at, mark] : marks) {
    if (at >= 0) line.insert(static_cast<std::size_t>(at), mark);
  }
  return line;
}

// Without the zeros that say nothing.
std::string shortInstant(std::string text) {
  if (text.find('.') == text.npos) return text;
  return text.substr(0, text.find_last_not_of("0Z") + 1) + "Z";
}

TEST(TimestampLines, AreReadAsTheTableSays) {
  const auto formats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  std::ifstream table(kFile);
  PropertiesMap settings;
  std::string line;
  int number = 0;
  int rows = 0;
  for (std::string text; std::getline(table, text);) {
    ++number;
    if (text.empty() || text.starts_with('#')) continue;
    if (text.starts_with("! ")) {
      const auto equals = text.find('=');
      settings.set(text.substr(2, equals - 2), text.substr(equals + 1));
    } else if (text.starts_with("= ")) {
      SCOPED_TRACE("line " + std::to_string(number) + ": " + line);
      ++rows;
      TimestampParser parser(formats, settings, "line", *instantFromText(kReference));
      const auto stamp = parser.parse(withoutMarks(line));
      const auto instant = stamp ? instantText(stamp->seconds, stamp->nanoseconds) : "-";
      EXPECT_EQ(instant, shortInstant(text.substr(2)));
      EXPECT_EQ(withMarks(withoutMarks(line), stamp.value_or(Timestamp())), line);
      settings = {};
    } else {
      line = replaced(text, "\\t", "\t");
    }
  }
  EXPECT_GT(rows, 0) << kFile;
}

}  // namespace
}  // namespace sourcetype
