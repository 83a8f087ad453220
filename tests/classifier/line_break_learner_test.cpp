#include "classifier/line_break_learner.h"

#include <gmock/gmock.h>

#include "classifier/line_start.h"
#include "classifier/single_line_check.h"
#include "support/samples.h"
#include "support/table.h"
#include "support/temp_tree.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using sourcetype::testing::sampleOf;
using ::testing::ElementsAre;

TEST(SingleLine, GoesByIndentationSeparatorsAndPunctuation) {
  sourcetype::testing::forEachRow("classifier/single_lines.txt", 3,
                                  [](const sourcetype::testing::Row& row) {
                                    EXPECT_EQ(isSingleLineSample(sampleOf(row[1])), row.flag(2));
                                  });
}

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

TEST(LineStart, IsFrequentLongAndEven) {
  sourcetype::testing::forEachRow(
      "classifier/line_starts.txt", 3, [](const sourcetype::testing::Row& row) {
        EXPECT_EQ(learnBreakOnlyBeforeRegex(sampleOf(row[1])).value_or("(none)"), row[2]);
      });
}

TEST(LineStart, OfACutCharacterGivesWayToTheNextOne) {
  const std::string line = std::string(29, '#') + "\xC3\xA9\n";
  EXPECT_EQ(learnBreakOnlyBeforeRegex(sampleOf(repeated(line + " more\n", 500))),
            "^" + std::string(29, '#'));
}

}  // namespace
}  // namespace sourcetype
