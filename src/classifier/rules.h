// Finds sourcetypes by the rules of props.conf.
//
// A rule is a stanza whose name begins with "rule::" (tried before the learned models) or with
// "delayedrule::" (tried after them). It contains a "sourcetype" and tests such as
//   MORE_THAN_80 = ^\d+ INFO      at least 80 % of the lines match the expression
//   LESS_THAN2_10 = ^#            at most 10 % of the lines match the expression
// Any text can stand between LESS_THAN or MORE_THAN and the underscore.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "classifier/flow_observer.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"
#include "util/counted_lines.h"
#include "util/filtered_regex.h"
#include "util/match_budget.h"
#include "util/record_limit.h"

namespace sourcetype {

enum class RuleTiming { BeforeModels, AfterModels };

// At most this many lines of a sample are tested.
inline constexpr std::size_t kMaxRuleLines = 1000;

// A test of a rule.
struct RuleTest {
  char comparer = '>';  // '>': at least `percent` of the lines have to match; '<': at most
  int percent = 0;
  bool hasNumber = true;  // if false, `percent` is 0

  // `matched` is the percentage of lines that match.
  bool passes(int matched) const {
    return comparer == '>' ? matched >= percent : matched <= percent;
  }
};

// Returns the test that a key describes; nothing for other keys. Text between the prefix and the
// underscore is ignored, so that a stanza can have several tests of a kind.
std::optional<RuleTest> parseRuleTest(std::string_view key);

class Rules {
 public:
  // `store` must outlive the object.
  explicit Rules(ConfStore& store) : store_(store) {}

  // The lines of a sample that are tested. The sample must outlive them.
  static CountedLines testedLines(const Sample& sample);

  // Tries the rules in byte order of their stanza names. Returns the sourcetype of the first rule
  // that has a test and whose tests all pass. A rule without a usable sourcetype is logged and
  // skipped. When `budget` is spent, this is logged and the remaining rules are not tried.
  // `observer`, unless it is null, is told the rule that decided or, if it wants losers, all rules.
  std::optional<std::string> findRuleSourcetype(const CountedLines& lines, RuleTiming timing,
                                                MatchBudget& budget,
                                                FlowObserver* observer = nullptr);

  // Returns true when at least `percent` of the tested lines match (comparer '>'), or at most
  // `percent` (any other comparer). The percentage of matching lines is truncated, and 0 when there
  // are no lines. An expression that does not compile matches no line. Counting ends at a line on
  // which the expression costs too much.
  bool MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                        int percent, MatchBudget& budget);

 private:
  struct Test {
    std::string key;
    std::string pattern;
    RuleTest limit;
  };
  struct Rule {
    std::string stanza;
    std::string sourcetype;
    std::vector<Test> tests;
  };

  std::vector<Rule> readRules(RuleTiming timing);
  // The first of the rules that passes; null if none does.
  const Rule* findRule(const CountedLines& lines, const std::vector<Rule>& rules,
                       MatchBudget& budget);
  void tellRules(const CountedLines& lines, const std::vector<Rule>& rules, const Rule* winner,
                 RuleTiming timing, FlowObserver& observer);
  RuleEvidence describeRule(const CountedLines& lines, const Rule& rule, MatchBudget& budget);
  bool isUsable(const Rule& rule);
  bool passesTests(const CountedLines& lines, const Rule& rule, MatchBudget& budget);
  bool passesTest(const CountedLines& lines, FilteredRegex& regex, const Test& test,
                  MatchBudget& budget);
  void reportFaults(const Rule& rule, const Test& test, const std::string& error);
  // Counts the matching lines. Stops as soon as it is certain whether the count reaches `decisive`.
  std::size_t countMatches(const CountedLines& lines, FilteredRegex& regex, std::size_t decisive,
                           MatchBudget& budget);
  FilteredRegex& expression(const std::string& pattern);

  // Limits on what one search for a rule logs.
  struct Records {
    RecordLimit noSourcetype;
    RecordLimit faults;
    RecordLimit costs;
  };
  void reportOmittedRecords();

  ConfStore& store_;
  Records records_;
  std::unordered_map<std::string, FilteredRegex> expressions_;  // by text
  std::set<std::pair<std::string, std::string>> reported_;      // stanzas and keys with faults
};

}  // namespace sourcetype
