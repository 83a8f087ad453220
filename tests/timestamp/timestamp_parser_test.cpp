// What a parser remembers from line to line, and how settings steer it. Which stamps it finds in a
// line is told by lines.txt.

#include "timestamp/timestamp_parser.h"
#include "timestamp/datetime_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>

#include "support/table.h"
#include "timestamp/instant_text.h"

namespace sourcetype {
namespace {

const TimestampFormats& formats() {
  static const auto kFormats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  return kFormats;
}

// What one parser says of the lines, "-" for nothing. `settings` are like "a=1; b=2".
std::string read(const std::string& settings, const std::string& lines) {
  TimestampParser parser(formats(), testing::settingsFrom(settings), "test",
                         *instantFromText("2024-06-15T12:00:00Z"));
  std::istringstream text(lines);
  std::string result;
  for (std::string line; std::getline(text, line);) {
    const auto stamp = parser.parse(line);
    result += stamp ? instantText(stamp->seconds, stamp->nanoseconds) : "-";
    result += '\n';
  }
  return result;
}

TEST(TimestampParser, ReadsLinesInTurn) {
  testing::forEachRow("timestamp/parser.txt", 3, [](const testing::Row& row) {
    EXPECT_EQ(read(row[0], row[1]), row[2] + (row[2].ends_with('\n') ? "" : "\n"));
  });
}

TEST(TimestampParser, TellsEachSettingThatCannotBeUsedOnce) {
  ::testing::internal::CaptureStderr();
  read("TIME_PREFIX=(; TIME_FORMAT=%Y-%; TZ=Nowhere/Atall", "2024-05-06 10:00:00\n2024-05-06");
  const auto log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::ranges::count(log, '\n'), 3) << log;
}

}  // namespace
}  // namespace sourcetype
