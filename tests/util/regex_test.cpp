#include "util/regex.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

#include "support/table.h"
#include "support/temp_tree.h"
#include "util/format.h"

namespace sourcetype {
namespace {

using testing::repeated;
using Mode = Regex::Mode;
using Compile = Regex::Compile;

const std::string kLong = repeated("a", 20000) + "b";

// Ranges of characters beyond ASCII for a class, none of them U+A002.
std::string farRanges(int count) {
  std::string ranges;
  for (int i = 0; i < count; ++i)
    ranges += formatText("\\x{%x}-\\x{%x}", 0xA000 + 4 * i, 0xA001 + 4 * i);
  return ranges;
}

// Every row goes through the interpreter and through machine code.
TEST(Regex, MatchesTheSameInterpretedAndStudied) {
  const std::vector<std::string> modes{"search", "whole", "partial"};
  testing::forEachRow("util/matches.txt", 6, [&](const testing::Row& row) {
    const auto mode = static_cast<Mode>(std::ranges::find(modes, row[0]) - modes.begin());
    for (const Compile compile : {Compile::ForInterpreter, Compile::ToMachineCode}) {
      const Regex regex(row[1], Regex::kNoOptions, compile);
      MatchResult result;
      ASSERT_EQ(regex.match(row[2], result, mode), row.flag(3));
      ASSERT_EQ(result.has(0), row.flag(3));
      if (!row.flag(3)) continue;
      EXPECT_EQ(result.start(0), row.number(4));
      EXPECT_EQ(result.end(0), row.number(5));
    }
  });
}

// Machine code has no such limits: it is for expressions of the program's own.
TEST(Regex, HasALimitInCostlyMatches) {
  testing::forEachRow("util/costly_matches.txt", 5, [](const testing::Row& row) {
    MatchResult result;
    ASSERT_EQ(Regex(row[0]).match(row[1], result), row.flag(2));
    if (!row.flag(2)) return;
    EXPECT_EQ(result.start(0), row.number(3));
    EXPECT_EQ(result.end(0), row.number(4));
  });
}

// Each of these spends its steps where the library reports none.
TEST(Regex, CountsTheStepsThatTheLibraryDoesNotReport) {
  struct {
    const char* what;
    std::string pattern;
    std::string subject;
    std::uint64_t minSteps;
  } const kCases[] = {
      {"a repeat that gives nothing back", "\\w+[!?]", repeated("a", 1000), 500'000},
      {"a look ahead", "(?=\\w*+)[!?]", repeated("a", 1000), 500'000},
      {"a required number of repeats", "[a-y]{900}[!?]",
       repeated("a", 899) + "z" + repeated("a", 899), 400'000},
      {"a reference", "(a*)\\1[xy]", repeated("a", 100), 200'000},
      {"a look behind", "(?<=a{900})a[!?]", repeated("a", 1800), 900'000},
      {"a class of many ranges", "[" + farRanges(1000) + "][!?]", repeated("\uA002", 500), 50'000},
  };
  for (const auto& row : kCases) {
    MatchBudget budget(1'000'000'000);
    MatchResult result;
    const Regex regex(row.pattern);
    EXPECT_NE(regex.tryMatch(row.subject, result, budget), Regex::Answer::Match) << row.what;
    const std::uint64_t steps = 1'000'000'000 - budget.left();
    EXPECT_GE(steps, row.minSteps) << row.what;
    MatchBudget same(steps + 1);
    EXPECT_EQ(regex.tryMatch(row.subject, result, same), Regex::Answer::NoMatch) << row.what;
    MatchBudget half(steps / 2);
    EXPECT_EQ(regex.tryMatch(row.subject, result, half), Regex::Answer::TooCostly) << row.what;
    EXPECT_TRUE(half.isSpent()) << row.what;
  }
}

TEST(Regex, RefusesAPatternThatDoesNotCompile) {
  for (const auto& pattern :
       {std::string("("), std::string("a\\C"), std::string("[z-a]"), std::string("\xff"),
        repeated("(", 300) + repeated(")", 300), repeated("a", 65537), repeated("[\\w-.]", 40),
        repeated("a", 16384)}) {
    try {
      const Regex regex(pattern);
      ADD_FAILURE() << "compiled: " << pattern.substr(0, 20);
    } catch (const RegexException& error) {
      EXPECT_EQ(std::string_view(error.what()).find("Regex: "), 0U);
      EXPECT_GT(std::string_view(error.what()).size(), 10U);
    }
  }
}

TEST(Regex, MayHoldCallouts) {
  const Regex anchored("^(?C1)a+(?C\"x\")b");  // first without a meter, then with one
  const Regex anywhere("(?C1)a+(?C2)b");
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(anywhere.find("xaab"), 1U);
    EXPECT_EQ(anchored.find("aab"), 0U);
    EXPECT_EQ(anchored.find(kLong), 0U);
  }
}

TEST(Regex, CannotRaiseItsOwnLimits) {
  EXPECT_FALSE(Regex("(*LIMIT_MATCH=4000000000)(*LIMIT_HEAP=4000000)(a|aa)+$")
                   .match(repeated("a", 10000) + "b"));
}

TEST(Regex, TakesAMissingSubjectAsEmpty) {
  const std::string_view missing;
  EXPECT_TRUE(Regex("^$").match(missing));
  EXPECT_TRUE(Regex("^$").match(missing, Mode::Whole));
  EXPECT_EQ(Regex("^$").find(missing), 0U);
  EXPECT_FALSE(Regex("a").match(missing));
}

TEST(Regex, ReportsGroupsByNumberAndName) {
  const Regex regex(R"((?<year>\d{4})-(?<month>\d\d)|(none))");
  const std::string_view subject = "on 2024-05";
  MatchResult result;
  ASSERT_TRUE(regex.match(subject, result));
  EXPECT_EQ(regex.groupCount(), 3U);
  EXPECT_EQ(result.groupCount(), 4U);
  EXPECT_EQ(result.text(regex.groupNumber("month").value(), subject), "05");
  EXPECT_EQ(regex.groupNumber("year"), 1U);
  EXPECT_FALSE(regex.groupNumber("day"));
  EXPECT_FALSE(result.has(3));
  EXPECT_EQ(result.text(3, subject), "");
  EXPECT_FALSE(result.has(4));
  ASSERT_FALSE(regex.match("x", result));
  EXPECT_EQ(result.groupCount(), 0U);
}

TEST(Regex, LeavesTheGroupsOfAPartialMatchAbsent) {
  MatchResult result;
  ASSERT_TRUE(Regex("(a)(b)(c)").match("aab", result, Mode::Partial));
  EXPECT_EQ(result.start(0), 1U);
  EXPECT_EQ(result.groupCount(), 4U);
  EXPECT_FALSE(result.has(1));
}

TEST(Regex, ReportsAtMost341Groups) {
  const Regex regex(repeated("(a)", 400));
  const std::string subject = repeated("a", 400);
  MatchResult result;
  ASSERT_TRUE(regex.match(subject, result, Mode::Whole));
  EXPECT_EQ(regex.groupCount(), 400U);
  EXPECT_EQ(result.groupCount(), 341U);
  EXPECT_EQ(result.end(340), 340U);
}

TEST(Regex, ConsumeMovesPastTheMatchUpToTheEnd) {
  const Regex regex("(\\w+)\\s*");
  std::string_view subject = "- one two";
  MatchResult result;
  ASSERT_TRUE(regex.consume(subject, result));
  EXPECT_EQ(subject, "two");
  ASSERT_TRUE(regex.consume(subject, result));
  EXPECT_TRUE(subject.empty());
  EXPECT_FALSE(regex.consume(subject, result));
}

TEST(Regex, FindObeysItsOptions) {
  for (const Compile compile : {Compile::ForInterpreter, Compile::ToMachineCode}) {
    const Regex regex("b+", Regex::kNoOptions, compile);
    EXPECT_EQ(regex.find("abb"), 1U);
    EXPECT_EQ(regex.find("abb", {.anchoredAtStart = true}), std::nullopt);
    EXPECT_EQ(regex.find("bba", {.anchoredAtStart = true}), 0U);
    EXPECT_EQ(regex.find("\xff"
                         "b",
                         {.anchoredAtStart = true}),
              std::nullopt);
    EXPECT_EQ(regex.find("bba", {.requireWhole = true}), std::nullopt);
    EXPECT_EQ(regex.find("bb", {.anchoredAtStart = true, .requireWhole = true}), 0U);
  }
}

TEST(Regex, KnowsWhetherItIsAnchored) {
  EXPECT_TRUE(Regex("^a|^b").isAnchored());
  EXPECT_FALSE(Regex("(?m)^a").isAnchored());
}

TEST(Regex, IgnoresCaseWhenAsked) {
  EXPECT_TRUE(Regex("\u00e9a", Regex::kCaseless).match("\u00c9A", Mode::Whole));
  EXPECT_FALSE(Regex("\u00e9a").match("\u00c9A"));
}

}  // namespace
}  // namespace sourcetype
