#include "util/regex.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>

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

struct MatchCase {
  std::string pattern;
  std::string subject;
  Mode mode;
  bool matches;
  std::size_t start = 0;
  std::size_t end = 0;
};

void PrintTo(const MatchCase& row, std::ostream* out) {
  *out << row.pattern << " on " << row.subject.substr(0, 40);
}

// Every row goes through the interpreter and through machine code.
class Match : public ::testing::TestWithParam<MatchCase> {};
TEST_P(Match, IsTheSameInterpretedAndStudied) {
  const auto& [pattern, subject, mode, matches, start, end] = GetParam();
  for (const Compile compile : {Compile::ForInterpreter, Compile::ToMachineCode}) {
    const Regex regex(pattern, Regex::kNoOptions, compile);
    MatchResult result;
    ASSERT_EQ(regex.match(subject, result, mode), matches) << pattern << " on " << subject;
    ASSERT_EQ(result.has(0), matches);
    if (!matches) continue;
    EXPECT_EQ(result.start(0), start) << pattern << " on " << subject;
    EXPECT_EQ(result.end(0), end) << pattern << " on " << subject;
  }
}
INSTANTIATE_TEST_SUITE_P(
    Modes, Match,
    ::testing::Values(MatchCase{"a|ab", "ab", Mode::Search, true, 0, 1},
                      MatchCase{"a|ab", "ab", Mode::Whole, true, 0, 2},
                      MatchCase{"a|ab", "xab", Mode::Whole, false},
                      MatchCase{"a$", "a\n", Mode::Whole, false},
                      MatchCase{"", "", Mode::Whole, true, 0, 0},
                      // No whole-subject variant: the comment takes its closing parenthesis in.
                      MatchCase{"(?x)ab # c", "ab", Mode::Whole, true, 0, 2},
                      MatchCase{"(?x)a|ab # c", "ab", Mode::Whole, false},
                      MatchCase{"\\Qa.", "a.", Mode::Whole, true, 0, 2},
                      MatchCase{"(*UCP)\\w+", "\u00e9t\u00e9", Mode::Whole, true, 0, 5},
                      MatchCase{"abc", "xab", Mode::Partial, true, 1, 3},
                      MatchCase{"abc", "xac", Mode::Partial, false},
                      MatchCase{"ab+", "ab", Mode::Partial, true, 0, 2}));
INSTANTIATE_TEST_SUITE_P(
    Newlines, Match,
    ::testing::Values(MatchCase{"a$", "a\u2028", Mode::Search, true, 0, 1},
                      MatchCase{"a$", "a\r\n", Mode::Search, true, 0, 1},
                      MatchCase{"a.", "a\u2028", Mode::Search, false},
                      MatchCase{"a.", "a\r", Mode::Search, false},
                      MatchCase{"(?m)^b", "a\u0085b", Mode::Search, true, 3, 4},
                      MatchCase{"a\\Rb", "a\r\nb", Mode::Search, true, 0, 4},
                      MatchCase{"a\\Rb", "a\u2029b", Mode::Search, true, 0, 5}));
INSTANTIATE_TEST_SUITE_P(
    ForeignBytes, Match,
    ::testing::Values(MatchCase{".+", "\xff\xc3\xa9z\xc3", Mode::Search, true, 1, 4},
                      MatchCase{"a.b",
                                "a\xff"
                                "b",
                                Mode::Search, false},
                      MatchCase{"[^x]", "\x80\xff", Mode::Search, false},
                      MatchCase{"^z", "\xffz", Mode::Search, false},
                      MatchCase{"z$", "\xffz", Mode::Search, true, 1, 2},
                      MatchCase{"z", "\xffz", Mode::Whole, false},
                      MatchCase{"a\\x00b", std::string("a\0b", 3), Mode::Whole, true, 0, 3}));
// A search sees the whole subject, however long it is.
INSTANTIATE_TEST_SUITE_P(LongSubjects, Match,
                         ::testing::Values(MatchCase{"a$", kLong, Mode::Search, false},
                                           MatchCase{"^(?!.*b)", kLong, Mode::Search, false},
                                           MatchCase{"b", kLong, Mode::Search, true, 20000, 20001},
                                           MatchCase{"^a+b$", kLong, Mode::Search, true, 0, 20001},
                                           MatchCase{"a+b", kLong, Mode::Whole, true, 0, 20001},
                                           MatchCase{"x\\w+!$",
                                                     repeated("x" + kLong + " ", 20) + "xa!",
                                                     Mode::Search, true, 400060, 400063}));

// Machine code has no such limits: it is for expressions of the program's own.
class CostlyMatch : public ::testing::TestWithParam<MatchCase> {};
TEST_P(CostlyMatch, HasALimit) {
  const auto& [pattern, subject, mode, matches, start, end] = GetParam();
  MatchResult result;
  ASSERT_EQ(Regex(pattern).match(subject, result, mode), matches);
  if (!matches) return;
  EXPECT_EQ(result.start(0), start);
  EXPECT_EQ(result.end(0), end);
}
const std::string kLine = repeated("user=42 GET /index.html 200 ok; ", 3000);
INSTANTIATE_TEST_SUITE_P(
    Hopeless, CostlyMatch,
    ::testing::Values(MatchCase{"(a+)+$", repeated("a", 10000) + "b", Mode::Search, false},
                      MatchCase{"(a|aa)+$", repeated("a", 10000) + "b", Mode::Search, false},
                      MatchCase{"(.*)*x", repeated("a", 10000), Mode::Whole, false},
                      MatchCase{"\\w+\\s*[:;]", repeated("a", 400000), Mode::Search, false},
                      MatchCase{"((a*)*)*[xy]", repeated("a", 10000), Mode::Search, false},
                      MatchCase{"(?:a|b)*[xy]", repeated("ab", 5000), Mode::Search, false},
                      MatchCase{"(?:a|(?R)(?R))*[xy]", repeated("a", 10000), Mode::Search, false},
                      MatchCase{"a(?R)?b", repeated("a", 200000), Mode::Search, false},
                      MatchCase{"\\d+.*\\d+.*fail", kLine, Mode::Search, false},
                      MatchCase{".*=.*=.*=x", kLine, Mode::Search, false},
                      MatchCase{"\\w+\\d+\\w+!", kLine, Mode::Search, false}));
INSTANTIATE_TEST_SUITE_P(
    BehindCostlyPositions, CostlyMatch,
    ::testing::Values(MatchCase{"(?:a|b)*[xy]", repeated("a", 200) + "-" + repeated("b", 200) + "x",
                                Mode::Search, true, 201, 402},
                      MatchCase{"(?:\u00e9|b)*[xy]",
                                repeated("\u00e9", 200) + "-" + repeated("\u00e9", 200) + "x",
                                Mode::Search, true, 401, 802},
                      MatchCase{"(a|aa)+$", repeated("a", 14) + "b" + repeated("a", 9),
                                Mode::Search, true, 15, 24}));

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

TEST(Regex, MatchesFromSeveralThreads) {
  const Regex regex("(\\d+)-(\\d+)", Regex::kNoOptions, Compile::ToMachineCode);
  const auto work = [&](int base) {
    for (int i = 0; i < 500; ++i) {
      const std::string subject = std::to_string(base) + "-" + std::to_string(i);
      MatchResult result;
      ASSERT_TRUE(regex.match(subject, result, Mode::Whole));
      ASSERT_EQ(result.text(2, subject), std::to_string(i));
    }
  };
  const std::jthread first(work, 1000);
  const std::jthread second(work, 2000);
}

}  // namespace
}  // namespace sourcetype
