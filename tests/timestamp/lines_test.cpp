// The table of log lines in lines.txt, whose head says how it is written.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "timestamp/timestamp_parser.h"
#include "timestamp/timestamp_text.h"

namespace sourcetype {
namespace {

constexpr const char* kReference = "2024-06-15T12:00:00Z";

// A row of the table: the line without its marks, and what they mark.
struct Row {
  int number = 0;
  std::string line;
  TimestampSpan main;
  TimestampSpan second;
  PropertiesMap settings;
};

// Takes the mark out of the line; where it stood, or -1.
std::ptrdiff_t takeMark(std::string& line, std::string_view mark) {
  const auto at = line.find(mark);
  if (at == std::string::npos) return -1;
  line.erase(at, mark.size());
  return static_cast<std::ptrdiff_t>(at);
}

Row rowFrom(std::string text, int number, const PropertiesMap& settings) {
  for (auto at = text.find("\\t"); at != std::string::npos; at = text.find("\\t", at)) {
    text.replace(at, 2, "\t");
  }
  // From left to right, so that no mark shifts another one's place.
  Row row{.number = number, .line = {}, .main = {}, .second = {}, .settings = settings};
  const auto takeMain = [&] {
    row.main.start = takeMark(text, "«");
    row.main.end = takeMark(text, "»");
  };
  const bool mainIsFirst = text.find("«") < text.find("‹");
  if (mainIsFirst) takeMain();
  row.second.start = takeMark(text, "‹");
  row.second.end = takeMark(text, "›");
  if (!mainIsFirst) takeMain();
  row.line = text;
  return row;
}

std::string shown(std::string line, TimestampSpan span, std::string_view begin,
                  std::string_view end) {
  if (span.start < 0) return line;
  line.insert(static_cast<std::size_t>(span.end), end);
  return line.insert(static_cast<std::size_t>(span.start), begin);
}

TEST(TimestampLines, AreReadAsTheTableSays) {
  const auto formats = TimestampFormats::load(SOURCETYPE_ETC_DIR "/datetime.xml");
  const auto reference = *instantFromText(kReference);
  std::ifstream table(SOURCETYPE_TESTS_DIR "/timestamp/lines.txt");
  ASSERT_TRUE(table) << SOURCETYPE_TESTS_DIR "/timestamp/lines.txt";

  Row row;
  PropertiesMap settings;
  int number = 0;
  int rows = 0;
  for (std::string text; std::getline(table, text);) {
    ++number;
    if (text.empty() || text.starts_with('#')) continue;
    if (text.starts_with("! ")) {
      const auto equals = text.find('=');
      settings.set(text.substr(2, equals - 2), text.substr(equals + 1));
    } else if (text.starts_with("= ")) {
      ++rows;
      TimestampParser parser(formats, row.settings, "line", reference);
      const auto stamp = parser.parse(row.line);
      const auto instant = stamp ? instantText(stamp->seconds, stamp->nanoseconds) : "-";
      // Both sides without the zeros that say nothing.
      auto expected = text.substr(2);
      if (expected.find('.') != std::string::npos) {
        expected.pop_back();
        expected.erase(expected.find_last_not_of('0') + 1);
        expected += 'Z';
      }
      EXPECT_EQ(instant, expected) << "line " << row.number << ": " << row.line;
      const auto main = stamp ? stamp->main : TimestampSpan();
      const auto second = stamp ? stamp->second : TimestampSpan();
      EXPECT_EQ(shown(row.line, main, "«", "»"), shown(row.line, row.main, "«", "»"))
          << "line " << row.number;
      EXPECT_EQ(shown(row.line, second, "‹", "›"), shown(row.line, row.second, "‹", "›"))
          << "line " << row.number;
    } else {
      row = rowFrom(text, number, settings);
      settings = {};
    }
  }
  EXPECT_GT(rows, 0);
}

}  // namespace
}  // namespace sourcetype
