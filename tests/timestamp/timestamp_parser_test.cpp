// What a parser remembers from line to line, and how settings steer it. Which stamps it finds in a
// line is told by lines.txt.

#include "timestamp/timestamp_parser.h"
#include "timestamp/datetime_file.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <vector>

#include "timestamp/instant_text.h"

namespace sourcetype {
namespace {

const TimestampFormats& formats() {
  static const auto kFormats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  return kFormats;
}

// What one parser says of the lines, "-" for nothing. The reference is noon of 2024-06-15.
std::vector<std::string> read(const std::vector<std::string>& lines,
                              const PropertiesMap& settings = {}) {
  TimestampParser parser(formats(), settings, "test", *instantFromText("2024-06-15T12:00:00Z"));
  std::vector<std::string> result;
  for (const auto& line : lines) {
    const auto stamp = parser.parse(line);
    result.push_back(stamp ? instantText(stamp->seconds, stamp->nanoseconds) : "-");
  }
  return result;
}
using Texts = std::vector<std::string>;

TEST(TimestampParser, LearnsTheOrderOfDayAndMonthFromOtherLines) {
  EXPECT_EQ(read({"03/04/2024 10:00:00", "16/03/2024 10:00:00", "05/04/2024 10:00:00",
                  "05-04-2024 10:00:00"}),
            (Texts{"2024-03-04T10:00:00Z", "2024-03-16T10:00:00Z", "2024-04-05T10:00:00Z",
                   "2024-04-05T10:00:00Z"}));
}

TEST(TimestampParser, TakesTheYearOfShortDatesThatIsClosestToTheReference) {
  EXPECT_EQ(read({"17/06/09 20:10:40"}), Texts{"2017-06-09T20:10:40Z"});
  EXPECT_EQ(read({"13/05/24 10:00:00"}), Texts{"2024-05-13T10:00:00Z"});
  EXPECT_EQ(read({"24/12/22 10:00:00"}), Texts{"2022-12-24T10:00:00Z"});
}

TEST(TimestampParser, CompletesATimeByTheDateOfTheStampBefore) {
  EXPECT_EQ(read({"10:00:00 a", "2024-06-14 23:00:00 b", "23:00:01 c"}),
            (Texts{"2024-06-15T10:00:00Z", "2024-06-14T23:00:00Z", "2024-06-14T23:00:01Z"}));
  // The date where the stamps come from: it is the 14th there when the UTC day begins.
  EXPECT_EQ(read({"2024-06-14T02:00:00Z", "22:30:00"}, {{"TZ", "-05:00"}}),
            (Texts{"2024-06-14T02:00:00Z", "2024-06-14T03:30:00Z"}));
}

TEST(TimestampParser, RefusesAJumpUnlessTheFormIsTheMajoritys) {
  const std::string odd = "2019-01-01 10:00:00";
  const std::string common = "May  6 10:00:00";
  EXPECT_EQ(read({common, common, odd, common}),
            (Texts{"2024-05-06T10:00:00Z", "2024-05-06T10:00:00Z", "-", "2024-05-06T10:00:00Z"}));
  // An odd first line holds up one other.
  EXPECT_EQ(read({odd, common, common}),
            (Texts{"2019-01-01T10:00:00Z", "-", "2024-05-06T10:00:00Z"}));
  // To the second.
  const PropertiesMap settings{{"MAX_DIFF_SECS_AGO", "60"}, {"MAX_DIFF_SECS_HENCE", "3600"}};
  EXPECT_EQ(read({common, common, "1714993200 x"}, settings).back(), "2024-05-06T11:00:00Z");
  EXPECT_EQ(read({common, common, "1714993201 x"}, settings).back(), "-");
  EXPECT_EQ(read({common, common, "1714989540 x"}, settings).back(), "2024-05-06T09:59:00Z");
  EXPECT_EQ(read({common, common, "1714989539 x"}, settings).back(), "-");
}

TEST(TimestampParser, KeepsToTheDaysAgoAndHence) {
  const PropertiesMap settings{{"MAX_DAYS_AGO", "10"}, {"MAX_DAYS_HENCE", "1"}};
  EXPECT_EQ(read({"2024-06-05 12:00:00", "2024-06-16 12:00:00"}, settings),
            (Texts{"2024-06-05T12:00:00Z", "2024-06-16T12:00:00Z"}));
  EXPECT_EQ(read({"2024-06-05 11:59:59", "2024-06-16 12:00:01"}, settings), (Texts{"-", "-"}));
  // Nothing is left of a stamp that is out of the question.
  EXPECT_EQ(
      read({"date=2024-06-01 time=10:00:00", "Jan 12 10:00:00", "2024-02-30 10:00:00"}, settings),
      (Texts{"-", "-", "-"}));
  // Without a year: the latest that is not too far ahead.
  EXPECT_EQ(read({"Jun 22 12:00:00"}), Texts{"2024-06-22T12:00:00Z"});
  EXPECT_EQ(read({"Jun 22 12:00:01"}), Texts{"2023-06-22T12:00:01Z"});
  EXPECT_EQ(read({"Dec 10 12:00:00"}, {{"MAX_DAYS_HENCE", "365"}}), Texts{"2024-12-10T12:00:00Z"});
}

TEST(TimestampParser, SearchesNoFurtherThanTold) {
  const std::string line = std::string(300, ' ') + "2024-05-06 10:00:00";
  EXPECT_EQ(read({line}), Texts{"-"});
  EXPECT_EQ(read({line}, {{"MAX_TIMESTAMP_LOOKAHEAD", "319"}}), Texts{"2024-05-06T10:00:00Z"});
  EXPECT_EQ(read({line}, {{"MAX_TIMESTAMP_LOOKAHEAD", "-1"}}), Texts{"2024-05-06T10:00:00Z"});
  EXPECT_EQ(read({line}, {{"MAX_TIMESTAMP_LOOKAHEAD", "9223372036854775807"}}),
            Texts{"2024-05-06T10:00:00Z"});
  EXPECT_EQ(read({"2024-05-06"}, {{"MAX_TIMESTAMP_LOOKAHEAD", "0"}}), Texts{"-"});
  EXPECT_EQ(read({"2024-05-06 10:00:00.125"}, {{"MAX_TIMESTAMP_LOOKAHEAD", "21"}}),
            Texts{"2024-05-06T10:00:00.1Z"});
  // A number is not cut to fit.
  EXPECT_EQ(read({"17149932011"}, {{"MAX_TIMESTAMP_LOOKAHEAD", "10"}}), Texts{"-"});
}

TEST(TimestampParser, IgnoresSettingsThatCannotBeUsed) {
  const PropertiesMap settings{
      {"TIME_PREFIX", "("}, {"TIME_FORMAT", "%Y-%"}, {"TZ", "Nowhere/Atall"}};
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(read({"2024-05-06 10:00:00", "2024-05-06 10:00:01"}, settings),
            (Texts{"2024-05-06T10:00:00Z", "2024-05-06T10:00:01Z"}));
  const auto log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::ranges::count(log, '\n'), 3) << log;
}

struct FormatCase {
  const char* format;
  const char* line;
  const char* instant;
};

TEST(TimestampParser, LooksForTimeFormatAlone) {
  constexpr std::array kCases{
      FormatCase{"%d/%b/%Y:%H:%M:%S %z", "x [06/May/2024:10:00:00 +0200]", "2024-05-06T08:00:00Z"},
      FormatCase{"%Y-%m-%d %H:%M:%S.%3N", "2024-05-06 10:00:00.1234", "2024-05-06T10:00:00.123Z"},
      FormatCase{"%y%m%d %H%M%S", "240506 100000", "2024-05-06T10:00:00Z"},
      FormatCase{"%s%3N", "t=1714989600123", "2024-05-06T10:00:00.123Z"},
      FormatCase{"%s.%6Q", "1714989600.000001", "2024-05-06T10:00:00.000001Z"},
      FormatCase{"%F %I:%M:%S %p", "2024-05-06 12:00:00 am", "2024-05-06T00:00:00Z"},
      FormatCase{"%b %e %T", "May  6 10:00:00", "2024-05-06T10:00:00Z"},
      FormatCase{"%a, %d %B %Y %R %Z", "Mon, 6 May 2024 10:00 CEST", "2024-05-06T08:00:00Z"},
      FormatCase{"%Y%j", "2024127", "2024-05-06T00:00:00Z"},
      FormatCase{"%H:%M", "at 10:05", "2024-06-15T10:05:00Z"},
      FormatCase{"[%F]+%T", "[2024-05-06]+10:00:00", "2024-05-06T10:00:00Z"},
      FormatCase{"%F", "2024-02-30", "-"},
      FormatCase{" ", "2024-05-06 10:00:00", "-"},
      FormatCase{"%d.%m.%Y", "2024-05-06 10:00:00", "-"},
  };
  for (const auto& [format, line, instant] : kCases) {
    EXPECT_EQ(read({line}, {{"TIME_FORMAT", format}}), Texts{instant}) << format;
  }
}

TEST(TimestampParser, ReadsZones) {
  constexpr std::array kCases{
      FormatCase{"+05:30", "2024-05-06 10:00:00", "2024-05-06T04:30:00Z"},
      FormatCase{"utc-3", "2024-05-06 10:00:00", "2024-05-06T13:00:00Z"},
      FormatCase{"est", "2024-05-06 10:00:00", "2024-05-06T15:00:00Z"},
      FormatCase{"+:", "2024-05-06 10:00:00", "2024-05-06T10:00:00Z"},
      FormatCase{"Europe/Berlin", "2024-03-31 01:59:59", "2024-03-31T00:59:59Z"},
      FormatCase{"Europe/Berlin", "2024-03-31 03:00:00", "2024-03-31T01:00:00Z"},
      FormatCase{"Europe/Berlin", "2023-10-29 03:00:00", "2023-10-29T02:00:00Z"},
      FormatCase{"Australia/Sydney", "2024-01-06 10:00:00", "2024-01-05T23:00:00Z"},
      FormatCase{"Australia/Sydney", "2024-05-06 10:00:00", "2024-05-06T00:00:00Z"},
  };
  for (const auto& [zone, line, instant] : kCases) {
    EXPECT_EQ(read({line}, {{"TZ", zone}}), Texts{instant}) << zone;
  }
}

// Any bytes: nothing to find, and nothing to stumble over.
TEST(TimestampParser, SurvivesHostileLines) {
  std::string digits(5000, '9');
  std::string mixed;
  for (int i = 0; i < 3000; ++i) mixed += static_cast<char>(i * 7);
  std::string dates;
  for (int i = 0; i < 500; ++i) dates += "99/99/9999 99:99:99 ";
  const PropertiesMap settings{{"MAX_TIMESTAMP_LOOKAHEAD", "-1"}};
  EXPECT_EQ(
      read({"", digits, std::string(5000, ' ') + "\xFF", dates, "Mon", "Mon ", "May"}, settings),
      Texts(7, "-"));
  read({mixed}, settings);
  read({digits}, {{"TIME_FORMAT", "%f%f%f%f%f%f%f%f%f%f%f%f%f%f%f%fx"}});
}

}  // namespace
}  // namespace sourcetype
