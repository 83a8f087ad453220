#include "classifier/rules.h"

#include <gtest/gtest.h>

#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using sourcetype::testing::TempTree;

// Returns the sourcetype that the rules of a props.conf find for a text.
std::string found(const std::string& props, const std::string& text,
                  RuleTiming timing = RuleTiming::BeforeModels) {
  const TempTree tree;
  tree.write("system/local/props.conf", props);
  ConfStore store(tree.root());
  MatchBudget budget(kMaxFileCost);
  return Rules(store)
      .findRuleSourcetype(readSampleText(text, {}, "text"), timing, budget)
      .value_or("(none)");
}

struct TestCase {
  const char* name;
  const char* test;
  bool passes;
};

// Ten lines, eight of which match "hit".
class RuleTest : public ::testing::TestWithParam<TestCase> {};

TEST_P(RuleTest, IsPassed) {
  const auto props = std::string("[rule::r]\nsourcetype = t\n") + GetParam().test + "\n";
  const auto text = repeated("a hit b\n", 8) + repeated("Hit\n", 2);
  EXPECT_EQ(found(props, text), GetParam().passes ? "t" : "(none)");
}

INSTANTIATE_TEST_SUITE_P(
    Keys, RuleTest,
    ::testing::Values(TestCase{"AtLeastItself", "MORE_THAN_80 = hit", true},
                      TestCase{"AtLeastOneMore", "MORE_THAN_81 = hit", false},
                      TestCase{"AtMostItself", "LESS_THAN_80 = hit", true},
                      TestCase{"AtMostOneLess", "LESS_THAN_79 = hit", false},
                      TestCase{"PercentageIsTruncated", "LESS_THAN_79.9 = hit", false},
                      TestCase{"TextBeforeTheUnderscore", "MORE_THAN1x_80 = hit", true},
                      TestCase{"FirstUnderscoreCounts", "LESS_THAN_80_0 = hit", true},
                      TestCase{"BothTests", "MORE_THAN1_80 = hit\nMORE_THAN2_80 = a", true},
                      TestCase{"OneOfBothTests", "MORE_THAN1_80 = hit\nMORE_THAN2_81 = a", false},
                      TestCase{"NoUnderscore", "MORE_THAN80 = hit", false},
                      TestCase{"OtherKeysBeside",
                               "MORE_THAN80 = miss\nfoo_1 = miss\nMORE_THAN_80 = hit", true},
                      TestCase{"TooShort", "MORE_THAN_ = hit", false},
                      TestCase{"TooShortLess", "LESS_THAN_ = x", false},
                      TestCase{"NoNumberIsZero", "MORE_THAN_x = miss", true},
                      TestCase{"NegativeAtLeast", "MORE_THAN_-1 = miss", true},
                      TestCase{"NegativeAtMost", "LESS_THAN_-1 = miss", false},
                      TestCase{"PlusSign", "MORE_THAN_+81 = hit", false},
                      TestCase{"NumberBeyondInt", "LESS_THAN_99999999999999999999 = hit", true},
                      TestCase{"LowerCase", "more_than_80 = hit", false},
                      TestCase{"NoTest", "x = y", false},
                      TestCase{"CaseSensitive", "MORE_THAN_81 = (?i)hit", true},
                      TestCase{"UncompilableAtLeast", "MORE_THAN_1 = (hit", false},
                      TestCase{"UncompilableAtLeastZero", "MORE_THAN_0 = (hit", true},
                      TestCase{"UncompilableAtMost", "LESS_THAN_0 = (hit", true}),
    [](const auto& test) { return test.param.name; });

TEST(Rules, LookAtTheFirstThousandLinesAlone) {
  const auto text = repeated("hit\n", 1000) + repeated("miss\n", 500);
  EXPECT_EQ(found("[rule::r]\nsourcetype=t\nMORE_THAN_100=hit\n", text), "t");
}

TEST(Rules, StopCountingAtALineThatCostsTooMuch) {
  const auto text = repeated("a!\n", 6) + repeated("a", 5000) + "\n" + repeated("a!\n", 3);
  const std::string rule = "[rule::r]\nsourcetype=t\n";
  EXPECT_EQ(found(rule + "MORE_THAN_60 = \\w+[!?]\n", text), "t");
  EXPECT_EQ(found(rule + "MORE_THAN_61 = \\w+[!?]\n", text), "(none)");
  EXPECT_EQ(found(rule + "LESS_THAN_60 = \\w+[!?]\n", text), "t");
}

TEST(Rules, AreNotTriedAnyMoreWhenTheirBudgetIsSpent) {
  const TempTree tree;
  tree.write("system/local/props.conf",
             "[rule::1]\nsourcetype=a\nMORE_THAN_1=x\n[rule::2]\nsourcetype=b\nLESS_THAN_0=!\n");
  ConfStore store(tree.root());
  MatchBudget budget(10'300);  // enough to compile the first expression
  EXPECT_EQ(Rules(store).findRuleSourcetype(readSampleText(repeated("y\n", 1000), {}, "text"),
                                            RuleTiming::BeforeModels, budget),
            std::nullopt);
}

TEST(Rules, FindNothingInAnEmptySample) {
  EXPECT_EQ(found("[rule::r]\nsourcetype=t\nMORE_THAN_1=^\n", ""), "(none)");
  EXPECT_EQ(found("[rule::r]\nsourcetype=t\nLESS_THAN_0=^\nMORE_THAN_0=^\n", ""), "t");
}

TEST(Rules, AreTriedInTheOrderOfTheirNames) {
  const std::string props =
      "[rule::syslog]\nsourcetype=S\nMORE_THAN_1=x\n[rule::access]\nsourcetype=A\nMORE_THAN_1=x\n"
      "[rule::Never]\nsourcetype=N\nMORE_THAN_1=y\n[delayedrule::a]\nsourcetype=D\nMORE_THAN_1=x\n";
  EXPECT_EQ(found(props, "x\n"), "A");
  EXPECT_EQ(found(props, "x\n", RuleTiming::AfterModels), "D");
}

TEST(Rules, WithFaultsAreReportedOnce) {
  const TempTree tree;
  tree.write("system/local/props.conf",
             "[rule::a]\nsourcetype=a\nMORE_THAN_5 = status (installed\n"
             "[rule::b]\nsourcetype=b\nMORE_THAN_a_80 = ^x\n");
  ConfStore store(tree.root());
  Rules rules(store);
  ::testing::internal::CaptureStderr();
  for (int i = 0; i < 2; ++i) {
    MatchBudget budget(kMaxFileCost);
    rules.findRuleSourcetype(readSampleText("x\n", {}, "text"), RuleTiming::BeforeModels, budget);
  }
  const auto log = ::testing::internal::GetCapturedStderr();
  const std::string invalid =
      "Invalid regex status (installed -- Regex: missing closing parenthesis (in [rule::a] "
      "MORE_THAN_5)";
  EXPECT_NE(log.find(invalid), std::string::npos) << log;
  EXPECT_EQ(log.find(invalid), log.rfind(invalid)) << log;
  EXPECT_NE(log.find("MORE_THAN_a_80 in [rule::b] has no digits"), std::string::npos) << log;
}

TEST(Rules, WithoutASourcetypeAreReportedAndSkipped) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(found("[rule::a]\nMORE_THAN_1=x\n[rule::b]\nsourcetype=B\nMORE_THAN_1=x\n"
                  "[default]\nsourcetype=D\n",
                  "x\n"),
            "B");
  const auto log = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(log.find("rule::a"), std::string::npos) << log;
  EXPECT_EQ(log.find("rule::b"), std::string::npos) << log;
}

}  // namespace
}  // namespace sourcetype
