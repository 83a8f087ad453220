#include "inspect/preview/event_breaker.h"

#include <fmt/core.h>

#include <optional>

#include "classifier/properties.h"
#include "util/match_budget.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

// Steps for all lines of a log, about a second, and more for each line, so that useful expressions
// never run out of steps.
constexpr std::uint64_t kStartingBudget = kMaxFileCost;
constexpr std::uint64_t kCostPerLine = 10'000;
constexpr std::uint64_t kCostPerByte = 64;

std::optional<Regex> readExpression(const PropertiesMap& settings) try {
  const auto expression = settings.tryGet(key::kBreakOnlyBefore);
  return expression ? std::optional<Regex>(*expression) : std::nullopt;
} catch (const RegexException&) {
  return std::nullopt;
}

// The indexes of the first line and of those that `begins` accepts. Calls `begins` with each line.
template <class Begins>
std::vector<std::size_t> startsWhere(std::span<const LogLine> lines, const Begins& begins) {
  std::vector<std::size_t> starts;
  for (std::size_t i = 0; i < lines.size(); ++i) {
    if (begins(lines[i]) || i == 0) starts.push_back(i);
  }
  return starts;
}

EventBreaks breakBefore(std::span<const LogLine> lines, const Regex& expression) {
  EventBreaks breaks;
  MatchResult match;
  MatchBudget budget(kStartingBudget);
  breaks.starts = startsWhere(lines, [&](const LogLine& line) {
    if (budget.isSpent()) return false;
    budget.add(kCostPerLine + kCostPerByte * line.text.size());
    const auto answer = expression.tryMatch(line.text, match, budget);
    if (budget.isSpent()) {
      breaks.problem = fmt::format("{} costs too much; it is not tried after line {}",
                                   key::kBreakOnlyBefore, line.number);
    }
    return answer == Regex::Answer::Match;
  });
  return breaks;
}

}  // namespace

EventBreaks breakEvents(std::span<const LogLine> lines, const PropertiesMap& settings,
                        const std::function<bool(std::string_view)>& hasTimestamp) {
  if (!settings.getBool(key::kShouldLinemerge, true)) {
    return {.starts = startsWhere(lines, [](const LogLine&) { return true; }), .problem = {}};
  }
  if (const auto expression = readExpression(settings)) return breakBefore(lines, *expression);
  return {
      .starts = startsWhere(lines, [&](const LogLine& line) { return hasTimestamp(line.text); }),
      .problem = {}};
}

}  // namespace sourcetype
