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
#include <unordered_map>
#include <utility>

#include "classifier/flow_observer.h"
#include "classifier/sample.h"
#include "conf/conf_store.h"
#include "util/filtered_regex.h"
#include "util/match_budget.h"
#include "util/record_limit.h"

namespace sourcetype {

enum class RuleTiming { BeforeModels, AfterModels };

// At most this many lines of a sample are tested.
inline constexpr std::size_t kMaxRuleLines = 1000;

class Rules {
 public:
  // `store` must outlive the object.
  explicit Rules(ConfStore& store) : store_(store) {}

  // Tries the rules in byte order of their stanza names. Returns the sourcetype of the first rule
  // that has a test and whose tests all pass. A rule without a usable sourcetype is logged and
  // skipped. When `budget` is spent, this is logged and the remaining rules are not tried.
  // `observer`, unless it is null, is told the rule that decided or, if it wants losers, all rules.
  std::optional<std::string> findRuleSourcetype(const Sample& sample, RuleTiming timing,
                                                MatchBudget& budget,
                                                FlowObserver* observer = nullptr);

  // Returns true when at least `percent` of the tested lines match (comparer '>'), or at most
  // `percent` (any other comparer). The percentage of matching lines is truncated, and 0 when there
  // are no lines. An expression that does not compile matches no line. Counting ends at a line on
  // which the expression costs too much.
  bool MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                        int percent, MatchBudget& budget);

 private:
  struct Test;
  struct TestedLines;
  struct Found {
    std::string stanza;
    std::string sourcetype;
  };

  static std::optional<Test> parseTestKey(const std::string& key);
  std::optional<Found> findRule(TestedLines& lines, RuleTiming timing, MatchBudget& budget);
  bool passesTests(TestedLines& lines, const std::string& stanza, const PropertiesMap& rule,
                   MatchBudget& budget);
  bool passesTest(TestedLines& lines, const std::string& pattern, const Test& test,
                  MatchBudget& budget);
  void reportFaults(const std::string& stanza, const std::string& key, const Test& test,
                    const std::string& pattern);
  // Counts the matching lines. Stops as soon as it is certain whether the count reaches `decisive`.
  std::size_t countMatches(TestedLines& lines, FilteredRegex& expression, std::size_t decisive,
                           MatchBudget& budget);
  FilteredRegex& expression(const std::string& pattern);
  void tellRules(TestedLines& lines, RuleTiming timing, const std::optional<Found>& winner,
                 FlowObserver& observer);
  RuleEvidence describeRule(TestedLines& lines, const std::string& stanza, MatchBudget& budget);

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
