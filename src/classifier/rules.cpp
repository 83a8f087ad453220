#include "classifier/rules.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <span>
#include <string_view>

#include "classifier/flow_log.h"
#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"

namespace sourcetype {
namespace {

// Steps that one test may spend, so that one costly expression leaves enough for other rules.
constexpr std::uint64_t kMaxTestCost = kMaxFileCost / 4;

constexpr std::string_view stanzaPrefix(RuleTiming timing) {
  return timing == RuleTiming::BeforeModels ? kRuleKind : kDelayedRuleKind;
}

constexpr std::size_t kCountAll = ~std::size_t{0};

// Returns the smallest count of matches at which a MORE_THAN test passes, or a LESS_THAN test
// fails.
std::size_t decisiveCount(std::size_t lines, char comparer, int percent) {
  const int limit = std::clamp(comparer == '>' ? percent : percent + 1, 0, 101);
  return (static_cast<std::size_t>(limit) * lines + 99) / 100;
}

}  // namespace

std::optional<RuleTest> parseRuleTest(std::string_view key) {
  constexpr std::string_view kLessThan = "LESS_THAN";
  constexpr std::string_view kMoreThan = "MORE_THAN";
  constexpr std::size_t kMinKey = kMoreThan.size() + 2;
  static_assert(kLessThan.size() == kMoreThan.size());
  const bool isLess = key.starts_with(kLessThan);
  if (key.size() < kMinKey || (!isLess && !key.starts_with(kMoreThan))) return std::nullopt;
  const auto underscore = key.find('_', kMoreThan.size());
  if (underscore == std::string_view::npos) return std::nullopt;
  // As atoi() reads it, but a number that is too large becomes the maximum.
  const std::string number(key.substr(underscore + 1));
  char* end = nullptr;
  const long percent = std::strtol(number.c_str(), &end, 10);
  constexpr long kMax = 1'000'000'000;
  return RuleTest{.comparer = isLess ? '<' : '>',
                  .percent = static_cast<int>(std::clamp(percent, -kMax, kMax)),
                  .hasNumber = end != number.c_str()};
}

CountedLines Rules::testedLines(const Sample& sample) {
  std::vector<std::string_view> lines(std::min(sample.lineCount(), kMaxRuleLines));
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i] = sample.line(i);
  return CountedLines(std::move(lines));
}

std::vector<Rules::Rule> Rules::readRules(RuleTiming timing) {
  std::vector<Rule> rules;
  const auto read = [&](std::string_view stanza, std::span<const ConfFile::Setting> settings) {
    Rule& rule = rules.emplace_back();
    rule.stanza = stanza;
    for (const auto& setting : settings) {
      if (setting.key() == key::kSourcetype) rule.sourcetype = setting.value();
      if (const auto test = parseRuleTest(setting.key())) {
        rule.tests.push_back({*test, std::string(setting.key()), std::string(setting.value())});
      }
    }
  };
  store_.visitStanzas(store_.getProps(), read, stanzaPrefix(timing));
  return rules;
}

std::optional<std::string> Rules::findRuleSourcetype(const CountedLines& lines, RuleTiming timing,
                                                     MatchBudget& budget, FlowObserver* observer) {
  const std::vector<Rule> rules = readRules(timing);
  const Rule* const found = findRule(lines, rules, budget);
  if (observer != nullptr) tellRules(lines, rules, found, timing, *observer);
  reportOmittedRecords();
  if (found == nullptr) return std::nullopt;
  return found->sourcetype;
}

// Counts the matches of whole tests, with a budget of its own: the flow stops at the line that
// decides a test.
void Rules::tellRules(const CountedLines& lines, const std::vector<Rule>& rules, const Rule* winner,
                      RuleTiming timing, FlowObserver& observer) {
  MatchBudget budget(kMaxFileCost);
  bool wasTried = true;
  for (const auto& rule : rules) {
    const bool decided = &rule == winner;
    if (decided || observer.wantsLosers()) {
      RuleEvidence evidence = describeRule(lines, rule, budget);
      evidence.isDelayed = timing == RuleTiming::AfterModels;
      evidence.decided = decided;
      evidence.wasTried = wasTried;
      observer.testedRule(evidence);
    }
    if (decided) wasTried = false;
  }
}

RuleEvidence Rules::describeRule(const CountedLines& lines, const Rule& rule, MatchBudget& budget) {
  RuleEvidence evidence;
  evidence.stanza = rule.stanza;
  evidence.sourcetype = rule.sourcetype;
  for (const auto& test : rule.tests) {
    auto& counted = evidence.tests.emplace_back();
    counted.key = test.key;
    counted.expression = test.pattern;
    counted.isMinimum = test.comparer == '>';
    counted.needed = test.percent;
    counted.isCounted = !budget.isSpent();
    FilteredRegex& regex = expression(test.pattern);
    if (counted.isCounted && regex.error().empty() && lines.size() > 0) {
      const auto matches = countMatches(lines, regex, kCountAll, budget);
      counted.counted = 100 * static_cast<double>(matches) / static_cast<double>(lines.size());
    }
    counted.passes = test.passes(static_cast<int>(counted.counted));  // truncated, as in the flow
  }
  return evidence;
}

void Rules::reportOmittedRecords() {
  const auto report = [](const RecordLimit& records, std::string_view what) {
    if (records.omitted() > 0) logWarn(kFlowLog, "%lu more %s.", records.omitted(), what);
  };
  report(records_.noSourcetype, "rules have no sourcetype");
  report(records_.faults, "rules or their tests have faults");
  report(records_.costs, "tests of rules cost too much on a line");
  records_ = {};
}

const Rules::Rule* Rules::findRule(const CountedLines& lines, const std::vector<Rule>& rules,
                                   MatchBudget& budget) {
  for (const auto& rule : rules) {
    if (!isUsable(rule)) continue;
    const bool passes = passesTests(lines, rule, budget);
    if (budget.isSpent()) {
      logWarn(kFlowLog, "The rules cost too much: [%s] and those after it are not tried.",
              rule.stanza);
      return nullptr;
    }
    if (passes) return &rule;
  }
  return nullptr;
}

// Logs the reason if the rule has no usable sourcetype.
bool Rules::isUsable(const Rule& rule) {
  if (rule.sourcetype.empty()) {
    if (records_.noSourcetype.admit()) {
      logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_NO_SOURCETYPE_FOUND__%s", rule.stanza);
    }
    return false;
  }
  const auto problem = sourcetypeProblem(rule.sourcetype);
  if (problem.empty()) return true;
  if (reported_.emplace(rule.stanza, key::kSourcetype).second && records_.faults.admit()) {
    logWarn(kFlowLog, "Ignoring [%s] for its sourcetype \"%s\": %s.", rule.stanza, rule.sourcetype,
            problem);
  }
  return false;
}

bool Rules::passesTests(const CountedLines& lines, const Rule& rule, MatchBudget& budget) {
  for (const auto& test : rule.tests) {
    FilteredRegex& regex = expression(test.pattern);
    reportFaults(rule, test, regex.error());
    if (!passesTest(lines, regex, test, budget)) return false;
  }
  return !rule.tests.empty();
}

// Logs, once a run, a test with an invalid expression or without a percentage.
void Rules::reportFaults(const Rule& rule, const Test& test, const std::string& error) {
  if (error.empty() && test.hasNumber) return;
  if (!reported_.emplace(rule.stanza, test.key).second || !records_.faults.admit()) return;
  if (!error.empty()) reportInvalidRegex(kFlowLog, test.pattern, error, rule.stanza, test.key);
  if (!test.hasNumber) {
    logWarn(kFlowLog, "The percentage of %s in [%s] has no digits and is taken as 0.", test.key,
            rule.stanza);
  }
}

FilteredRegex& Rules::expression(const std::string& pattern) {
  return expressions_.try_emplace(pattern, pattern).first->second;
}

bool Rules::MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                             int percent, MatchBudget& budget) {
  const CountedLines lines = testedLines(sample);
  return passesTest(lines, expression(pattern), {{comparer, percent}, {}, pattern}, budget);
}

bool Rules::passesTest(const CountedLines& lines, FilteredRegex& regex, const Test& test,
                       MatchBudget& budget) {
  budget.spend(MatchBudget::compilingCost(test.pattern.size()));
  const auto percentage = [&](std::size_t decisive, MatchBudget& spent) {
    if (!regex.error().empty() || lines.size() == 0) return 0;
    return static_cast<int>(countMatches(lines, regex, decisive, spent) * 100 / lines.size());
  };
  const int counted = percentage(decisiveCount(lines.size(), test.comparer, test.percent), budget);
  const bool passes = test.passes(counted);
  if (kFlowLog.isEnabled(LogLevel::Debug)) {
    // The log shows the percentage of all lines. Counting them must not spend the budget of the
    // file.
    MatchBudget logBudget(kMaxTestCost);
    logDebug(kFlowLog, "MatchRulePattern. %s, Pattern: %s, Percent: %d, Comparer: %c, Actual: %d",
             passes ? "true" : "false", test.pattern, test.percent, test.comparer,
             percentage(kCountAll, logBudget));
  }
  return passes;
}

std::size_t Rules::countMatches(const CountedLines& lines, FilteredRegex& regex,
                                std::size_t decisive, MatchBudget& budget) {
  const bool countsAll = decisive == kCountAll;
  if (!countsAll && !regex.mayMatch(lines, decisive)) return 0;
  std::array<bool, kMaxRuleLines> isCandidate;
  std::size_t candidates = 0;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (!countsAll && candidates + (lines.size() - i) < decisive) return 0;
    isCandidate[i] = regex.admits(lines, i);
    if (isCandidate[i]) ++candidates;
  }
  const std::uint64_t allowed = std::min(budget.left(), kMaxTestCost);
  MatchBudget share(allowed);
  std::size_t matches = 0;
  MatchResult unusedGroups;
  for (std::size_t i = 0; candidates > 0; ++i) {
    const bool isSettled = matches >= decisive || matches + candidates < decisive;
    if (isSettled && !countsAll) break;
    if (!isCandidate[i]) continue;
    --candidates;
    const auto answer = regex.regex().tryMatch(lines[i], unusedGroups, share);
    if (answer == Regex::Answer::Match) ++matches;
    if (answer != Regex::Answer::TooCostly) continue;
    if (records_.costs.admit()) {
      logWarn(kFlowLog, "The expression %s costs too much on line %lu; no more lines are counted.",
              regex.pattern(), i + 1);
    }
    break;
  }
  budget.spend(allowed - share.left());
  return matches;
}

}  // namespace sourcetype
