// Sourcetypes found by the hand-written rules of props.conf.
//
// A stanza whose name begins "rule::" (tried before the learned models) or "delayedrule::" (tried
// after them) names a "sourcetype" and holds tests: a key such as MORE_THAN_80 or LESS_THAN2_10,
// whose value is an expression and whose number is the percentage of lines that must at least, or
// may at most, match it.
#pragma once

#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <variant>

#include "classifier/sample.h"
#include "conf/conf_store.h"
#include "util/match_budget.h"
#include "util/record_limit.h"
#include "util/regex.h"

namespace sourcetype {

enum class RuleTiming { BeforeModels, AfterModels };

// Only so many lines of a sample are tested.
inline constexpr std::size_t kMaxRuleLines = 1000;

class Rules {
 public:
  // `store` must outlive the object.
  explicit Rules(ConfStore& store) : store_(store) {}

  // The sourcetype of the first rule, in byte order of stanza names, all of whose tests pass. A
  // rule has at least one test; one without a sourcetype is logged and skipped. When `budget` is
  // spent the rules that are left are not tried, which is logged.
  std::optional<std::string> findRuleSourcetype(const Sample& sample, RuleTiming timing,
                                                MatchBudget& budget);

  // Whether at least (comparer '>') or at most (any other) `percent` of the tested lines match. The
  // actual percentage is truncated, and 0 without lines. An expression that does not compile
  // matches no line. A line on which it costs too much ends the counting.
  bool MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                        int percent, MatchBudget& budget);

 private:
  struct Test;

  static std::optional<Test> parseTestKey(const std::string& key);
  std::optional<std::string> findRule(const Sample& sample, RuleTiming timing, MatchBudget& budget);
  bool passesTests(const Sample& sample, const std::string& stanza, const PropertiesMap& rule,
                   MatchBudget& budget);
  void reportFaults(const std::string& stanza, const std::string& key, const Test& test,
                    const std::string& pattern);
  // Stops where it is certain on which side of `decisive` the count will be.
  std::size_t countMatches(const Sample& sample, std::size_t lines, const Regex& regex,
                           std::size_t decisive, MatchBudget& budget);

  // An expression, or why it does not compile.
  using Compiled = std::variant<Regex, std::string>;
  const Compiled& compiled(const std::string& pattern);

  // The records of one search for a rule.
  struct Records {
    RecordLimit noSourcetype;
    RecordLimit faults;
    RecordLimit costs;
  };
  void reportOmittedRecords();

  ConfStore& store_;
  Records records_;
  std::unordered_map<std::string, Compiled> compiled_;      // once per text and run
  std::set<std::pair<std::string, std::string>> reported_;  // stanzas and keys with faults
};

}  // namespace sourcetype
