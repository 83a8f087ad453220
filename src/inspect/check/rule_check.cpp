#include "inspect/check/rule_check.h"

#include <fmt/core.h>

#include <algorithm>
#include <optional>
#include <unordered_map>
#include <utility>
#include <vector>

#include "classifier/properties.h"
#include "classifier/rules.h"
#include "classifier/type_name.h"
#include "conf/stanza_kinds.h"
#include "inspect/check/known_keys.h"
#include "inspect/check/value_check.h"
#include "util/text.h"

namespace sourcetype {
namespace {

// True if every file passes the test, whatever lines it has.
bool alwaysPasses(const RuleTest& test) {
  return test.comparer == '>' ? test.percent <= 0 : test.percent >= 100;
}

// "MORE_THAN_2_80" is read as 2 percent.
bool hasSecondNumber(std::string_view key) {
  auto rest = key.substr(std::min(key.find('_', std::string_view("MORE_THAN").size()), key.size()));
  if (rest.empty()) return false;
  rest.remove_prefix(1);
  while (!rest.empty() && isAsciiDigit(rest.front())) rest.remove_prefix(1);
  return rest.size() > 1 && rest.front() == '_' && isAsciiDigit(rest[1]);
}

// What follows for the rule if no line matches the expression of a test.
std::string_view consequence(const RuleTest& test) {
  return test.passes(0) ? "the test always passes" : "the rule never applies";
}

void checkTest(const ConfText& text, const ConfText::Setting& setting, const RuleTest& test,
               Findings& findings) {
  const auto place = text.at(setting.line);
  if (!test.hasNumber) {
    findings.error(place, fmt::format("{} has no digits after its underscore: 0 percent is used",
                                      setting.key));
  } else if (hasSecondNumber(setting.key)) {
    findings.error(place, fmt::format("{} means {} percent: the number after the first underscore "
                                      "counts",
                                      setting.key, test.percent));
  } else if (test.percent > 100) {
    findings.error(place, fmt::format("{} is above 100 percent: {}", setting.key,
                                      alwaysPasses(test) ? "the test always passes"
                                                         : "the rule never applies"));
  }
  if (const auto error = expressionError(setting.value)) {
    findings.error(place, fmt::format("the expression of {} does not compile and matches no line, "
                                      "so {}: {}",
                                      setting.key, consequence(test), *error));
  }
}

struct Rule {
  struct Test {
    RuleTest test;
    std::string expression;
  };

  std::string stanza;
  std::vector<Test> tests;
};

// True if every file that passes `strict` passes `loose`.
bool implies(const Rule::Test& strict, const Rule::Test& loose) {
  if (alwaysPasses(loose.test)) return true;
  if (strict.expression != loose.expression || strict.test.comparer != loose.test.comparer)
    return false;
  return strict.test.comparer == '>' ? strict.test.percent >= loose.test.percent
                                     : strict.test.percent <= loose.test.percent;
}

bool passesWhenever(const Rule& loose, const Rule& strict) {
  return std::ranges::all_of(loose.tests, [&](const auto& wanted) {
    return std::ranges::any_of(strict.tests,
                               [&](const auto& test) { return implies(test, wanted); });
  });
}

class RuleCheck {
 public:
  RuleCheck(ConfStore& store, const StanzaPlaces& places, Findings& findings)
      : store_(store), places_(places), findings_(findings) {}

  void checkAll() {
    for (const auto kind : {kRuleKind, kDelayedRuleKind}) {
      for (const auto& stanza : store_.stanzaNames(store_.getProps(), kind)) check(stanza);
    }
  }

 private:
  Place placeOf(const std::string& stanza) const {
    const auto found = places_.find(stanza);
    return found == places_.end() ? Place() : found->second;
  }

  void check(const std::string& stanza) {
    PropertiesMap settings;
    store_.getExactStanza(store_.getProps(), settings, stanza);
    Rule rule{.stanza = stanza, .tests = {}};
    for (const auto& [key, entry] : settings.entries()) {
      if (const auto test = parseRuleTest(key)) rule.tests.push_back({*test, entry.value});
    }
    const auto sourcetype = settings.tryGet(key::kSourcetype);
    if (!sourcetype) {
      return findings_.error(placeOf(stanza),
                             fmt::format("[{}] is skipped: it has no sourcetype", stanza));
    }
    if (!sourcetypeProblem(*sourcetype).empty()) return;  // skipped, and found with its line
    if (rule.tests.empty()) {
      return findings_.error(placeOf(stanza),
                             fmt::format("[{}] never applies: it has no test", stanza));
    }
    if (contradictsItself(rule)) {
      findings_.warn(placeOf(stanza), fmt::format("[{}] never applies: no file passes its tests of "
                                                  "the same expression",
                                                  stanza));
    }
    checkReach(rule);
    remember(std::move(rule));
  }

  static bool contradictsItself(const Rule& rule) {
    return std::ranges::any_of(rule.tests, [&](const auto& more) {
      return more.test.comparer == '>' && std::ranges::any_of(rule.tests, [&](const auto& less) {
               return less.test.comparer == '<' && less.expression == more.expression &&
                      less.test.percent >= 0 && less.test.percent < more.test.percent;
             });
    });
  }

  void checkReach(const Rule& rule) {
    const auto report = [&](const Rule& earlier) {
      findings_.warn(placeOf(rule.stanza),
                     fmt::format("[{}] is never reached: [{}] is tried before and passes whenever "
                                 "it does; see {}",
                                 rule.stanza, earlier.stanza, placeText(placeOf(earlier.stanza))));
    };
    if (passedByAll_) return report(*passedByAll_);
    for (const auto& test : rule.tests) {
      for (const auto& earlier : earlier_[test.expression]) {
        if (passesWhenever(earlier, rule)) return report(earlier);
      }
    }
  }

  // Keeps the rule under the expression of one of its tests. Each rule that it hides has a test
  // with this expression too. Chooses the expression that has the smallest number of rules, so that
  // checkReach() compares few rules.
  void remember(Rule rule) {
    std::vector<Rule>* fewest = nullptr;
    for (const auto& test : rule.tests) {
      if (alwaysPasses(test.test)) continue;
      auto& rules = earlier_[test.expression];
      if (fewest == nullptr || rules.size() < fewest->size()) fewest = &rules;
    }
    if (fewest != nullptr) return fewest->push_back(std::move(rule));
    if (passedByAll_) return;
    findings_.warn(
        placeOf(rule.stanza),
        fmt::format("every file of 100 lines passes [{}], so no later rule is tried", rule.stanza));
    passedByAll_ = std::move(rule);
  }

  ConfStore& store_;
  const StanzaPlaces& places_;
  Findings& findings_;
  std::unordered_map<std::string, std::vector<Rule>> earlier_;
  std::optional<Rule> passedByAll_;
};

}  // namespace

bool isRule(std::string_view stanza) {
  return stanza.starts_with(kRuleKind) || stanza.starts_with(kDelayedRuleKind);
}

void checkRuleSetting(const ConfText& text, const ConfText::Setting& setting, Findings& findings) {
  if (setting.key == key::kSourcetype) return;
  if (const auto test = parseRuleTest(setting.key)) {
    return checkTest(text, setting, *test, findings);
  }
  const auto place = text.at(setting.line);
  if (const auto meant = meantRuleKey(setting.key)) {
    findings.error(place, fmt::format("{} is no test of a rule; did you mean {}?", setting.key,
                                      *meant == key::kSourcetype ? *meant : *meant + "_N"));
  } else if (kindOfKey("props", setting.key)) {
    findings.warn(place, fmt::format("{} has no effect in a rule: write it to the stanza of the "
                                     "sourcetype",
                                     setting.key));
  }
}

void checkRules(ConfStore& store, const StanzaPlaces& places, Findings& findings) {
  RuleCheck(store, places, findings).checkAll();
}

}  // namespace sourcetype
