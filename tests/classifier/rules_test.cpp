#include "classifier/rules.h"

#include <gtest/gtest.h>

#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using sourcetype::testing::TempTree;

std::optional<std::string> findIn(Rules& rules, const std::string& text, MatchBudget& budget) {
  const Sample sample = readSampleText(text, {}, "text");
  const CountedLines lines = Rules::testedLines(sample);
  return rules.findRuleSourcetype(lines, RuleTiming::BeforeModels, budget);
}

// The rule that props.conf gives a text.
std::string found(const std::string& props, const std::string& text) {
  const TempTree tree;
  tree.write("system/local/props.conf", props);
  ConfStore store(tree.root());
  MatchBudget budget(kMaxFileCost);
  Rules rules(store);
  return findIn(rules, text, budget).value_or("(none)");
}

TEST(Rule, IsPassedWhenAllItsTestsAre) {
  const auto text = repeated("a hit b\n", 8) + repeated("Hit\n", 2);
  testing::forEachRow("classifier/rule_tests.txt", 3, [&](const testing::Row& row) {
    const auto props = "[rule::r]\nsourcetype = t\n" + row[1] + "\n";
    EXPECT_EQ(found(props, text), row.flag(2) ? "t" : "(none)");
  });
}

TEST(Rules, LookAtTheFirstThousandLinesAlone) {
  const auto text = repeated("hit\n", 1000) + repeated("miss\n", 500);
  const std::string rule = "[rule::r]\nsourcetype=t\nMORE_THAN_100=hit\n";
  EXPECT_EQ(found(rule, text), "t");
  EXPECT_EQ(found(rule, repeated("hit\n", 999) + "miss\n"), "(none)");
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
  Rules rules(store);
  EXPECT_EQ(findIn(rules, repeated("y\n", 1000), budget), std::nullopt);
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
    findIn(rules, "x\n", budget);
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
