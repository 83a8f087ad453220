// Random patterns and names are compared in fuzz/stanza_patterns_fuzz.cpp.
#include "conf/stanza_pattern.h"

#include <gtest/gtest.h>

#include "support/table.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

using testing::forEachRow;
using testing::Row;

TEST(ExpandStanzaPattern, WritesTheExpressionForEitherPathForm) {
  forEachRow("conf/expressions.txt", 3, [](const Row& row) {
    EXPECT_EQ(expandStanzaPattern(row[0], kWindowsPathForm).value_or("(null)"), row[1]);
    EXPECT_EQ(expandStanzaPattern(row[0], kPosixPathForm).value_or("(null)"), row[2]);
    EXPECT_EQ(isStanzaPattern(row[0]), row[1] != "(null)");
  });
}

TEST(StanzaPattern, MatchesWholeNames) {
  forEachRow("conf/patterns.txt", 4, [](const Row& row) {
    const StanzaPattern pattern(row[1], row[0] == "windows" ? kWindowsPathForm : kPosixPathForm);
    MatchBudget budget(kMaxFileCost);
    for (const char* time : {"first", "second"}) {
      const bool matches = pattern.match(row[2], budget) == StanzaPattern::Answer::Match;
      EXPECT_EQ(matches, row.flag(3)) << time << " time";
    }
  });
}

}  // namespace
}  // namespace sourcetype
