#include "inspect/scan/sample_events.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "classifier/properties.h"
#include "timestamp/timestamp_parser.h"
#include "util/match_budget.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

// Lines at the start that are searched for a timestamp: header lines have none.
constexpr std::size_t kMaxFirstLines = 20;
// Lines at the end, tried one after the other: a long event may have its timestamp further up.
constexpr std::array<std::size_t, 2> kLastLines{20, 200};

// Lines that the expression matches begin an event, and so does the first line.
std::uint64_t countStarts(const Sample& sample, const Regex& start) {
  MatchBudget budget(kMaxFileCost);
  MatchResult match;
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    const auto answer = start.tryMatch(sample.line(i), match, budget);
    if (i == 0 || answer == Regex::Answer::Match) ++count;
  }
  return count;
}

// Lines with a timestamp begin an event, and so does the first line.
std::uint64_t countDated(const Sample& sample, TimestampParser& parser) {
  std::uint64_t count = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    const bool isDated = parser.parse(sample.line(i)).has_value();
    if (i == 0 || isDated) ++count;
  }
  return count;
}

}  // namespace

SampleEvents examineEvents(const Sample& sample, const PropertiesMap& settings,
                           const TimestampFormats& formats, const std::string& name) {
  SampleEvents events;
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto start = settings.tryGet(key::kBreakOnlyBefore);
  const bool merges = settings.getBool(key::kShouldLinemerge, true);
  if (!merges) {
    events.count = sample.lineCount();
  } else if (start && compiles(*start)) {
    events.count = countStarts(sample, Regex(*start));
  } else {
    TimestampParser parser(formats, settings, name, now);
    events.count = countDated(sample, parser);
  }

  TimestampParser parser(formats, settings, name, now);
  const std::size_t lines = sample.lineCount();
  for (std::size_t i = 0; i < std::min(lines, kMaxFirstLines) && !events.first; ++i) {
    events.first = parser.parse(sample.line(i));
  }
  for (const std::size_t count : kLastLines) {
    for (std::size_t i = lines - std::min(lines, count); i < lines; ++i) {
      if (const auto found = parser.parse(sample.line(i))) events.last = found;
    }
    if (events.last || lines <= count) break;
  }
  if (!events.first) events.first = events.last;
  return events;
}

}  // namespace sourcetype
