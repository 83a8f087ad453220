// Rules of props.conf against a count of every line. Input: props.conf and the lines of a log.
#include "classifier/rules.h"

#include <algorithm>
#include <cstdlib>
#include <map>

#include "support.h"

namespace sourcetype::fuzzing {
namespace {

// Matches among the tested lines.
std::size_t countSlowly(const Sample& sample, std::size_t lines, const std::string& pattern) {
  try {
    const Regex regex(pattern);
    MatchBudget budget(kMaxFileCost);
    MatchResult groups;
    std::size_t count = 0;
    for (std::size_t i = 0; i < lines; ++i) {
      const auto answer = regex.tryMatch(sample.line(i), groups, budget);
      if (answer == Regex::Answer::TooCostly) break;
      count += answer == Regex::Answer::Match ? 1 : 0;
    }
    return count;
  } catch (const RegexException&) {
    return 0;
  }
}

enum class Test { None, Passes, Fails };

Test testSlowly(const Sample& sample, const std::string& key, const std::string& pattern) {
  const bool isMore = key.starts_with("MORE_THAN");
  if (!isMore && !key.starts_with("LESS_THAN")) return Test::None;
  const auto underscore = key.find('_', 9);
  if (underscore == std::string::npos || key.size() < 11) return Test::None;
  const long long wanted = std::strtoll(key.c_str() + underscore + 1, nullptr, 10);
  const auto lines = std::min<std::size_t>(sample.lineCount(), 1000);
  const auto count = countSlowly(sample, lines, pattern);
  const auto percent = lines == 0 ? 0 : static_cast<long long>(100 * count / lines);
  return (isMore ? percent >= wanted : percent <= wanted) ? Test::Passes : Test::Fails;
}

bool passesSlowly(const Sample& sample, const PropertiesMap& rule) {
  std::vector<Test> tests;
  for (const auto& [key, entry] : rule.entries()) {
    tests.push_back(testSlowly(sample, key, entry.value));
  }
  std::erase(tests, Test::None);
  return !tests.empty() && std::ranges::count(tests, Test::Fails) == 0;
}

std::optional<std::string> findSlowly(ConfStore& store, const Sample& sample,
                                      std::string_view prefix) {
  for (const auto& name : store.stanzaNames(store.getProps(), prefix)) {
    PropertiesMap rule;
    store.getExactStanza(store.getProps(), rule, name);
    const auto& sourcetype = rule.get("sourcetype");
    if (!sourcetype.empty() && passesSlowly(sample, rule)) return sourcetype;
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({repositoryFile("etc/apps/databases/default/props.conf").substr(0, 900),
                  repositoryFile("samples/dispatch.log").substr(0, 1000)}),
          joined({"[rule::a]\nsourcetype=a\nMORE_THAN_50=^x\nLESS_THAN2_10 = y$\n[delayedrule::b]\n"
                  "sourcetype=b\nMORE_THAN_0=z\n",
                  "x1\nx2\ny\nxy\n"}),
          joined({"[rule::a]\nsourcetype=a\nLESS_THAN_-1=(\nMORE_THAN__101=a*\n[rule::b]\n"
                  "MORE_THAN_33=(a+)+$\nsourcetype=c",
                  "aaaaaaaaaaaaaaaaaaaaaaaaaab\n\xFF\nb"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto props = parts.next();
  const Sample sample = readSampleText(parts.next(), {}, "text");
  tree().write("system/local/props.conf", props);
  ConfStore store(tree().root());
  Rules rules(store);
  MatchBudget budget(kMaxFileCost);
  require(rules.findRuleSourcetype(sample, RuleTiming::BeforeModels, budget) ==
              findSlowly(store, sample, "rule::"),
          "the first rule whose tests all pass is taken");
  require(rules.findRuleSourcetype(sample, RuleTiming::AfterModels, budget) ==
              findSlowly(store, sample, "delayedrule::"),
          "the first delayed rule whose tests all pass is taken");
}

}  // namespace sourcetype::fuzzing
