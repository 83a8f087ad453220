#include "classifier/rules.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <string_view>

#include "classifier/properties.h"
#include "classifier/type_name.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

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

struct Rules::Test {
  char comparer;
  int percent;
  bool hasNumber;  // if false, `percent` is 0
};

struct Rules::TestedLines {
  explicit TestedLines(const Sample& tested)
      : sample(tested), count(std::min(sample.lineCount(), kMaxRuleLines)), counts(first(tested)) {}

  static std::vector<std::string_view> first(const Sample& sample) {
    std::vector<std::string_view> lines(std::min(sample.lineCount(), kMaxRuleLines));
    for (std::size_t i = 0; i < lines.size(); ++i) lines[i] = sample.line(i);
    return lines;
  }

  const Sample& sample;
  const std::size_t count;
  LineCounts counts;
  std::array<bool, kMaxRuleLines> isCandidate{};  // by line: it may match the tested expression
};

// Returns the test that a key describes; nothing for other keys. Text between the prefix and the
// underscore is ignored, so that a stanza can have several tests of a kind.
std::optional<Rules::Test> Rules::parseTestKey(const std::string& key) {
  constexpr std::string_view kLessThan = "LESS_THAN";
  constexpr std::string_view kMoreThan = "MORE_THAN";
  constexpr std::size_t kMinKey = kMoreThan.size() + 2;
  static_assert(kLessThan.size() == kMoreThan.size());
  const bool isLess = key.starts_with(kLessThan);
  if (key.size() < kMinKey || (!isLess && !key.starts_with(kMoreThan))) return std::nullopt;
  const auto underscore = key.find('_', kMoreThan.size());
  if (underscore == std::string::npos) return std::nullopt;
  // As atoi() reads it, but a number that is too large becomes the maximum.
  const char* const start = key.c_str() + underscore + 1;
  char* end = nullptr;
  const long number = std::strtol(start, &end, 10);
  constexpr long kMax = 1'000'000'000;
  return Test{.comparer = isLess ? '<' : '>',
              .percent = static_cast<int>(std::clamp(number, -kMax, kMax)),
              .hasNumber = end != start};
}

std::optional<std::string> Rules::findRuleSourcetype(const Sample& sample, RuleTiming timing,
                                                     MatchBudget& budget, FlowObserver* observer) {
  TestedLines lines(sample);
  auto found = findRule(lines, timing, budget);
  if (observer != nullptr) tellRules(lines, timing, found, *observer);
  reportOmittedRecords();
  if (!found) return std::nullopt;
  return std::move(found->sourcetype);
}

// Counts the matches of whole tests, with a budget of its own: the flow stops at the line that
// decides a test.
void Rules::tellRules(TestedLines& lines, RuleTiming timing, const std::optional<Found>& winner,
                      FlowObserver& observer) {
  MatchBudget budget(kMaxFileCost);
  bool wasTried = true;
  for (const auto& stanza : store_.stanzaNames(store_.getProps(), stanzaPrefix(timing))) {
    const bool decided = winner && stanza == winner->stanza;
    if (decided || observer.wantsLosers()) {
      RuleEvidence rule = describeRule(lines, stanza, budget);
      rule.isDelayed = timing == RuleTiming::AfterModels;
      rule.decided = decided;
      rule.wasTried = wasTried;
      observer.testedRule(rule);
    }
    if (decided) wasTried = false;
  }
}

RuleEvidence Rules::describeRule(TestedLines& lines, const std::string& stanza,
                                 MatchBudget& budget) {
  PropertiesMap rule;
  store_.getExactStanza(store_.getProps(), rule, stanza);
  RuleEvidence evidence;
  evidence.stanza = stanza;
  evidence.sourcetype = rule.get(key::kSourcetype);
  for (const auto& [key, entry] : rule.entries()) {
    const auto test = parseTestKey(key);
    if (!test) continue;
    auto& counted = evidence.tests.emplace_back();
    counted.key = key;
    counted.expression = entry.value;
    counted.isMinimum = test->comparer == '>';
    counted.needed = test->percent;
    counted.isCounted = !budget.isSpent();
    FilteredRegex& tested = expression(entry.value);
    const bool hasCount = counted.isCounted && tested.error().empty() && lines.count > 0;
    const auto matches = hasCount ? countMatches(lines, tested, kCountAll, budget) * 100 : 0;
    if (hasCount) {
      counted.counted = static_cast<double>(matches) / static_cast<double>(lines.count);
    }
    const auto percent = static_cast<int>(counted.counted);  // truncated, as the tests do it
    counted.passes = counted.isMinimum ? percent >= counted.needed : percent <= counted.needed;
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

std::optional<Rules::Found> Rules::findRule(TestedLines& lines, RuleTiming timing,
                                            MatchBudget& budget) {
  Conf& props = store_.getProps();
  for (const auto& stanza : store_.stanzaNames(props, stanzaPrefix(timing))) {
    PropertiesMap rule;
    store_.getExactStanza(props, rule, stanza);
    auto sourcetype = rule.tryGet(key::kSourcetype);
    if (!sourcetype) {
      if (records_.noSourcetype.admit()) {
        logMessage(LogLevel::Warn, kFlowLog, "FILE_CLASSIFIER_NO_SOURCETYPE_FOUND__%s", stanza);
      }
      continue;
    }
    if (const auto problem = sourcetypeProblem(*sourcetype); !problem.empty()) {
      if (reported_.emplace(stanza, key::kSourcetype).second && records_.faults.admit()) {
        logWarn(kFlowLog, "Ignoring [%s] for its sourcetype \"%s\": %s.", stanza, *sourcetype,
                problem);
      }
      continue;
    }
    const bool passes = passesTests(lines, stanza, rule, budget);
    if (budget.isSpent()) {
      logWarn(kFlowLog, "The rules cost too much: [%s] and those after it are not tried.", stanza);
      return std::nullopt;
    }
    if (passes) return Found{stanza, *sourcetype};
  }
  return std::nullopt;
}

bool Rules::passesTests(TestedLines& lines, const std::string& stanza, const PropertiesMap& rule,
                        MatchBudget& budget) {
  bool hasTest = false;
  for (const auto& [key, entry] : rule.entries()) {
    const auto test = parseTestKey(key);
    if (!test) continue;
    hasTest = true;
    reportFaults(stanza, key, *test, entry.value);
    if (!passesTest(lines, entry.value, *test, budget)) return false;
  }
  return hasTest;
}

// Logs, once a run, a test with an invalid expression or without a percentage.
void Rules::reportFaults(const std::string& stanza, const std::string& key, const Test& test,
                         const std::string& pattern) {
  const std::string& error = expression(pattern).error();
  if (error.empty() && test.hasNumber) return;
  if (!reported_.emplace(stanza, key).second || !records_.faults.admit()) return;
  if (!error.empty()) reportInvalidRegex(kFlowLog, pattern, error, stanza, key);
  if (!test.hasNumber) {
    logWarn(kFlowLog, "The percentage of %s in [%s] has no digits and is taken as 0.", key, stanza);
  }
}

FilteredRegex& Rules::expression(const std::string& pattern) {
  return expressions_.try_emplace(pattern, pattern).first->second;
}

bool Rules::MatchRulePattern(const Sample& sample, const std::string& pattern, char comparer,
                             int percent, MatchBudget& budget) {
  TestedLines lines(sample);
  return passesTest(lines, pattern, {.comparer = comparer, .percent = percent, .hasNumber = true},
                    budget);
}

bool Rules::passesTest(TestedLines& lines, const std::string& pattern, const Test& test,
                       MatchBudget& budget) {
  budget.spend(MatchBudget::compilingCost(pattern.size()));
  FilteredRegex& tested = expression(pattern);
  const auto percentage = [&](std::size_t decisive, MatchBudget& spent) {
    if (!tested.error().empty() || lines.count == 0) return 0;
    return static_cast<int>(countMatches(lines, tested, decisive, spent) * 100 / lines.count);
  };
  const int counted = percentage(decisiveCount(lines.count, test.comparer, test.percent), budget);
  const bool passes = test.comparer == '>' ? counted >= test.percent : counted <= test.percent;
  if (kFlowLog.isEnabled(LogLevel::Debug)) {
    // The log shows the percentage of all lines. Counting them must not spend the budget of the
    // file.
    MatchBudget logBudget(kMaxTestCost);
    logDebug(kFlowLog, "MatchRulePattern. %s, Pattern: %s, Percent: %d, Comparer: %c, Actual: %d",
             passes ? "true" : "false", pattern, test.percent, test.comparer,
             percentage(kCountAll, logBudget));
  }
  return passes;
}

std::size_t Rules::countMatches(TestedLines& lines, FilteredRegex& expression, std::size_t decisive,
                                MatchBudget& budget) {
  const bool countsAll = decisive == kCountAll;
  if (!countsAll && !expression.mayMatch(lines.counts, decisive)) return 0;
  std::size_t candidates = 0;
  for (std::size_t i = 0; i < lines.count; ++i) {
    if (!countsAll && candidates + (lines.count - i) < decisive) return 0;
    lines.isCandidate[i] = expression.admits(lines.sample.line(i));
    if (lines.isCandidate[i]) ++candidates;
  }
  const std::uint64_t allowed = std::min(budget.left(), kMaxTestCost);
  MatchBudget share(allowed);
  std::size_t matches = 0;
  MatchResult unusedGroups;
  for (std::size_t i = 0; candidates > 0; ++i) {
    const bool isSettled = matches >= decisive || matches + candidates < decisive;
    if (isSettled && !countsAll) break;
    if (!lines.isCandidate[i]) continue;
    --candidates;
    const auto answer = expression.regex().tryMatch(lines.sample.line(i), unusedGroups, share);
    if (answer == Regex::Answer::Match) ++matches;
    if (answer != Regex::Answer::TooCostly) continue;
    if (records_.costs.admit()) {
      logWarn(kFlowLog, "The expression %s costs too much on line %lu; no more lines are counted.",
              expression.pattern(), i + 1);
    }
    break;
  }
  budget.spend(allowed - share.left());
  return matches;
}

}  // namespace sourcetype
