#include "classifier/line_break_learner.h"

#include <gmock/gmock.h>

#include "classifier/line_start.h"
#include "classifier/single_line_check.h"
#include "support/temp_tree.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using ::testing::ElementsAre;

Sample sampleOf(const std::string& text) {
  return readSampleText(text, {}, "text");
}

// Returns `count` lines with different punctuation after `start`: "!", "!!" or "#!!" and so on.
std::string differentLines(int count, std::string_view start = "") {
  constexpr std::string_view kMarks = "!#$%&";
  std::string text;
  for (int i = 0; i < count; ++i) {
    text += start;
    for (int digits = i + 1; digits > 0; digits /= 5) text += kMarks[std::size_t(digits % 5)];
    text += "x\n";
  }
  return text;
}

struct SingleLineCase {
  const char* name;
  std::string text;
  bool single;
};

class SingleLineTest : public ::testing::TestWithParam<SingleLineCase> {};

TEST_P(SingleLineTest, GoesByIndentationSeparatorsAndPunctuation) {
  EXPECT_EQ(isSingleLineSample(sampleOf(GetParam().text)), GetParam().single);
}

INSTANTIATE_TEST_SUITE_P(
    Lines, SingleLineTest,
    ::testing::Values(
        SingleLineCase{"None", "", true}, SingleLineCase{"OneSeparatorAlone", "----\n", true},
        SingleLineCase{"Separator", "a\n \t--- x\n", false},
        SingleLineCase{"EverySeparator", "a\n=+=\n", false},
        SingleLineCase{"DashesWithin", "a\nb ---\n", true},
        // 20 lines: more than 1 and fewer than 19 indented
        SingleLineCase{"OneIndented", repeated("a\n", 19) + " a\n", true},
        SingleLineCase{"TwoIndented", repeated("a\n", 18) + "\ta\n a\n", false},
        SingleLineCase{"NearlyAllIndented", "a\na\n" + repeated(" a\n", 18), false},
        SingleLineCase{"AllButOneIndented", "a\n" + repeated(" a\n", 19), true},
        // 100 lines: more than 5 and fewer than 98
        SingleLineCase{"NinetySevenPercent", repeated("a\n", 3) + repeated(" a\n", 97), false},
        SingleLineCase{"FivePercent", repeated("a\n", 95) + repeated(" a\n", 5), true},
        SingleLineCase{"SixPercent", repeated("a\n", 94) + repeated(" a\n", 6), false},
        SingleLineCase{"TooFewForPunctuation", differentLines(29), true},
        SingleLineCase{"ManyPatterns", differentLines(30), false},
        SingleLineCase{"FirstTwoMarks", differentLines(30, "!!"), true},
        SingleLineCase{"SamePattern", repeated("a [b] c\n", 30), true},
        // length / patterns must be at least 0.7: 2 / 2, 3 / 4, 4 / 5, 5 / 7, 7 / 10 pass
        SingleLineCase{"SevenOfTen",
                       differentLines(21, "!#!#!#!") + "!!\n!#\n!$\n##\n#!\n#$\n$$\n$!\n$#\n",
                       true},
        SingleLineCase{
            "NineOfTwelve",
            repeated("!1#2!3#4!5#6!\n", 19) + "!!\n!#\n!$\n##\n#!\n#$\n$$\n$!\n$#\n%%\n%!\n", true},
        SingleLineCase{
            "NineOfThirteen",
            repeated("!1#2!3#4!5#6!\n", 18) + "!!\n!#\n!$\n##\n#!\n#$\n$$\n$!\n$#\n%%\n%!\n%#\n",
            false},
        SingleLineCase{"DotsInARowCountOnce",
                       repeated("1.2.3.4,\n", 10) + repeated("1.2,\n", 10) + repeated("a.,\n", 10) +
                           repeated("a.-_'.b,\n", 10),
                       true},
        SingleLineCase{"TheThousandthLine", repeated("a\n", 999) + "---\n", false},
        SingleLineCase{"TheFirstThousandLines", repeated("a\n", 1000) + "---\n", true}),
    [](const auto& test) { return test.param.name; });

TEST(TokenizeLineStart, JoinsRunsOfAClass) {
  EXPECT_THAT(tokenizeLineStart("2012-01-05 10:00:01 abc"),
              ElementsAre(R"(\d+)", R"(\-)", R"(\d+)", R"(\-)", R"(\d+)", R"(\s+)", R"(\d+)", ":",
                          R"(\d+)", ":", R"(\d+)", R"(\s+)", "[a-zA-Z]", "+"));
  EXPECT_THAT(tokenizeLineStart("((.+?\\_\"7"), ElementsAre(R"(\()", R"(\()", ".", R"(\+)", R"(\?)",
                                                            R"(\\)", "_", "\"", R"(\d)", "+"));
  EXPECT_THAT(tokenizeLineStart("\xC3\xA9"), ElementsAre("\xC3", "\xA9"));
  EXPECT_THAT(tokenizeLineStart(""), ElementsAre());
}

TEST(LineStartCandidates, AreTheBeginsOfALineFromTwoPiecesOn) {
  EXPECT_THAT(lineStartCandidates("ab: 12"),
              ElementsAre("^[a-zA-Z](?:[_-]?\\w)*:", "^[a-zA-Z](?:[_-]?\\w)*:\\s+",
                          "^[a-zA-Z](?:[_-]?\\w)*:\\s+\\d", "^[a-zA-Z](?:[_-]?\\w)*:\\s+\\d+"));
  EXPECT_THAT(lineStartCandidates("ab"), ElementsAre("^[a-zA-Z](?:[_-]?\\w)*"));
  EXPECT_EQ(lineStartCandidates(std::string(29, '#') + "12").back(),
            "^" + std::string(29, '#') + "\\d+");
  for (const char* line : {"", "   ", "#", " ab: 12", "\tab"}) {
    EXPECT_THAT(lineStartCandidates(line), ElementsAre()) << line;
  }
}

TEST(LooksTimestamped, NeedsMoreThanAHundredLinesAndFivePercent) {
  const std::string stamp = "at 1:2:3\n";
  EXPECT_FALSE(looksTimestamped(sampleOf(repeated(stamp, 100))));
  EXPECT_TRUE(looksTimestamped(sampleOf(repeated(stamp, 101))));
  EXPECT_FALSE(looksTimestamped(sampleOf(repeated("12:30 1::2:3\n", 200))));
  // The share is computed at each matching line: 6 of 120 are not more than 5 %, 6 of 119 are.
  EXPECT_FALSE(looksTimestamped(sampleOf(repeated("a\n", 114) + repeated(stamp, 5) + "a\n1:2:3")));
  EXPECT_TRUE(looksTimestamped(sampleOf(repeated("a\n", 113) + repeated(stamp, 6))));
}

// Returns `events` events, each of a first line and `continued` more lines.
std::string eventsOf(const std::string& first, int events, int continued) {
  return repeated(first + "\n" + repeated("  more\n", continued), events);
}

struct LineStartCase {
  const char* name;
  std::string text;
  const char* expected;
};

class LineStartTest : public ::testing::TestWithParam<LineStartCase> {};

TEST_P(LineStartTest, IsFrequentLongAndEven) {
  EXPECT_EQ(learnBreakOnlyBeforeRegex(sampleOf(GetParam().text)).value_or("(none)"),
            GetParam().expected);
}

INSTANTIATE_TEST_SUITE_P(
    Samples, LineStartTest,
    ::testing::Values(
        LineStartCase{"TooFewLines", eventsOf("<ab>", 333, 2), "(none)"},
        LineStartCase{"EnoughLines", eventsOf("<ab>", 333, 2) + "x", "^<[a-zA-Z](?:[_-]?\\w)*>"},
        LineStartCase{"Timestamped", eventsOf("<1:2:3>", 500, 1), "(none)"},
        LineStartCase{"NearlyEveryLine", repeated("<ab>\n", 991) + repeated(" x\n", 9), "(none)"},
        LineStartCase{"AllLinesButTen", repeated("<ab>\n", 990) + repeated(" x\n", 10),
                      "^<[a-zA-Z](?:[_-]?\\w)*>"},
        LineStartCase{"NotFrequentEnough", eventsOf("<ab>", 20, 1) + repeated(" x\n", 970),
                      "(none)"},
        LineStartCase{"FrequentEnough", eventsOf("<ab>", 20, 1) + repeated(" x\n", 960),
                      "^<[a-zA-Z](?:[_-]?\\w)*>"},
        // Both spreads are limited, so the scores are equal: the first in byte order wins.
        LineStartCase{"Tie", eventsOf(";1;", 250, 1) + eventsOf(",1,", 250, 1), "^,\\d+,"},
        // Twenty lines in a row have the gaps 1, 2, 2, 3, 3 ... 10, 10, so a spread of 3.03: 20 of
        // them score less than 133 with the largest spread, which is 20.
        LineStartCase{"GapsAreMeasuredFromTheGapBefore",
                      repeated("<ab>\n", 20) + eventsOf(";ab;", 67, 1) + repeated(" x\n", 374) +
                          eventsOf(";ab;", 66, 1) + repeated(" x\n", 340),
                      "^;[a-zA-Z](?:[_-]?\\w)*;"}),
    [](const auto& test) { return test.param.name; });

TEST(LineStart, OfACutCharacterGivesWayToTheNextOne) {
  const std::string line = std::string(29, '#') + "\xC3\xA9\n";
  EXPECT_EQ(learnBreakOnlyBeforeRegex(sampleOf(repeated(line + " more\n", 500))),
            "^" + std::string(29, '#'));
}

}  // namespace
}  // namespace sourcetype
