#include "classifier/rules.h"

#include <algorithm>
#include <cstdlib>

#include "classifier/properties.h"
#include "conf/message_catalog.h"
#include "util/patience.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

constexpr std::string_view stanzaPrefix(RuleTiming timing) {
  return timing == RuleTiming::BeforeModels ? "rule::" : "delayedrule::";
}

struct RuleTest {
  char comparer;
  int percent;
};

// The test that a key stands for, nothing for any other key. Between the prefix and the underscore
// may stand any text, so that a stanza can have several tests of a kind.
std::optional<RuleTest> parseTestKey(const std::string& key) {
  constexpr std::string_view kLessThan = "LESS_THAN";
  constexpr std::string_view kMoreThan = "MORE_THAN";
  constexpr std::size_t kShortestKey = kMoreThan.size() + 2;
  static_assert(kLessThan.size() == kMoreThan.size());
  const bool isLess = key.starts_with(kLessThan);
  if (key.size() < kShortestKey || (!isLess && !key.starts_with(kMoreThan))) return std::nullopt;
  const auto underscore = key.find('_', kMoreThan.size());
  if (underscore == std::string::npos) return std::nullopt;
  // As atoi() reads it, but a number that is too large is as large as can be.
  const long number = std::strtol(key.c_str() + underscore + 1, nullptr, 10);
  constexpr long kMost = 1'000'000'000;
  return RuleTest{.comparer = isLess ? '<' : '>',
                  .percent = static_cast<int>(std::clamp(number, -kMost, kMost))};
}

constexpr std::size_t kCountAll = ~std::size_t{0};

// The count of matches from which on a test has its other answer.
std::size_t decisiveCount(std::size_t lines, char comparer, int percent) {
  const int limit = std::clamp(comparer == '>' ? percent : percent + 1, 0, 101);
  return (static_cast<std::size_t>(limit) * lines + 99) / 100;
}

}  // namespace

std::optional<std::string> Rules::findRuleSourcetype(const Sample& sample, RuleTiming timing) {
  Conf& props = store_.getProps();
  for (const auto& stanza : store_.stanzaNames(props, stanzaPrefix(timing))) {
    PropertiesMap rule;
    store_.getExactStanza(props, rule, stanza);
    auto sourcetype = rule.tryGet(key::kSourcetype);
    if (!sourcetype) {
      logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_NO_SOURCETYPE_FOUND__%s", stanza);
    } else if (passesTests(sample, rule)) {
      return sourcetype;
    }
  }
  return std::nullopt;
}

bool Rules::passesTests(const Sample& sample, const PropertiesMap& rule) {
  bool hasTest = false;
  for (const auto& [key, entry] : rule.entries()) {
    const auto test = parseTestKey(key);
    if (!test) continue;
    hasTest = true;
    if (!MatchRulePattern(sample, entry.value, test->comparer, test->percent)) return false;
  }
  return hasTest;
}

bool Rules::MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                             int percent) {
  const std::size_t lines = std::min(sample.lineCount(), kMaxRuleLines);
  // The log shows the whole count; without it, counting ends where the answer is settled.
  const std::size_t decisive =
      kFlowLog.isEnabled(LogLevel::Debug) ? kCountAll : decisiveCount(lines, comparer, percent);
  const std::size_t matches = countMatches(sample, lines, pattern, decisive);
  const int actual = lines == 0 ? 0 : static_cast<int>(matches * 100 / lines);
  const bool passes = comparer == '>' ? actual >= percent : actual <= percent;
  logDebug(kFlowLog, "MatchRulePattern. %s, Pattern: %s, Percent: %d, Comparer: %c, Actual: %d",
           passes ? "true" : "false", pattern, percent, comparer, actual);
  return passes;
}

std::size_t Rules::countMatches(const Sample& sample, std::size_t lines, const std::string& pattern,
                                std::size_t decisive) {
  const auto [compiled, isNew] = compiled_.try_emplace(pattern);
  if (isNew) {
    try {
      compiled->second.emplace(pattern);
    } catch (const RegexException& error) {
      logDebug(kFlowLog, "Invalid regex %s -- %s", pattern, error.what());
    }
  }
  if (!compiled->second) return 0;
  std::size_t matches = 0;
  Patience patience;
  MatchResult groups;  // nobody reads them
  for (std::size_t i = 0; i < lines && !patience.isOver(); ++i) {
    const bool isSettled = matches >= decisive || matches + (lines - i) < decisive;
    if (isSettled && decisive != kCountAll) break;
    if (patience.match(*compiled->second, sample.line(i), groups)) ++matches;
  }
  return matches;
}

}  // namespace sourcetype
