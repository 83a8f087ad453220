// Sourcetypes found by the hand-written rules of props.conf.
//
// A stanza whose name begins "rule::" (tried before the learned models) or "delayedrule::" (tried
// after them) names a "sourcetype" and holds tests: a key such as MORE_THAN_80 or LESS_THAN2_10,
// whose value is an expression and whose number is the percentage of lines that must at least, or
// may at most, match it.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "classifier/sampling/sample.h"
#include "conf/conf_store.h"
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
  // rule has at least one test; one without a sourcetype is logged and skipped.
  std::optional<std::string> findRuleSourcetype(const Sample& sample, RuleTiming timing);

  // Whether at least (comparer '>') or at most (any other) `percent` of the tested lines match. The
  // actual percentage is truncated, and 0 without lines. An expression that does not compile
  // matches no line, one that costs too much on several lines none behind them.
  bool MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                        int percent);

 private:
  bool passesTests(const Sample& sample, const PropertiesMap& rule);
  // Stops where it is certain on which side of `decisive` the count will be.
  std::size_t countMatches(const Sample& sample, std::size_t lines, const std::string& pattern,
                           std::size_t decisive);

  ConfStore& store_;
  // Compiled once per text and run; empty for a text that does not compile.
  std::unordered_map<std::string, std::optional<Regex>> compiled_;
};

}  // namespace sourcetype
