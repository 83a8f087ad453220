#include "classifier/timestamp_learner.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numeric>
#include <vector>

#include "classifier/properties.h"
#include "conf/message_catalog.h"
#include "util/format.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

// As many timestamps, or fewer, say nothing about a sourcetype.
constexpr std::size_t kTooFewTimestamps = 30;

// Of the timestamps, as many have to agree.
constexpr double kAgreeingShare = 0.9;

// What the lines with a timestamp showed.
struct Observations {
  std::vector<std::ptrdiff_t> starts;  // byte offsets, in the order of the lines
  std::vector<std::ptrdiff_t> ends;
  std::map<std::string, std::size_t> prefixes;  // lines by the expression for the text before

  std::size_t count() const { return starts.size(); }
};

Observations observe(const Sample& sample, std::size_t lines, const TimestampFinder& find) {
  constexpr std::ptrdiff_t kAbsentStart = 9999999;  // behind the end of every line
  Observations seen;
  for (std::size_t i = 0; i < lines; ++i) {
    const std::string_view line = sample.line(i);
    const auto stamp = find(line);
    if (!stamp || stamp->main.start < 0 || stamp->main.end < 0) continue;
    const auto secondStart = stamp->second.start < 0 ? kAbsentStart : stamp->second.start;
    const auto start = std::min(stamp->main.start, secondStart);
    seen.starts.push_back(start);
    seen.ends.push_back(std::max(stamp->main.end, stamp->second.end));
    ++seen.prefixes[makeTimePrefixRegex(line.substr(0, static_cast<std::size_t>(start)))];
  }
  return seen;
}

double meanOf(const std::vector<std::ptrdiff_t>& offsets) {
  const auto sum = std::accumulate(offsets.begin(), offsets.end(), std::ptrdiff_t{0});
  return static_cast<double>(sum) / static_cast<double>(offsets.size());
}

// The expression that most lines have; of equally frequent ones the last in byte order. Empty when
// fewer than `needed` lines agree, or when timestamps start within the first bytes of the lines.
std::string chooseTimePrefix(const Observations& seen, std::size_t needed) {
  constexpr double kNearBegin = 10.0;  // mean start in bytes
  if (meanOf(seen.starts) <= kNearBegin) return {};
  std::string chosen;
  std::size_t most = needed;
  for (const auto& [expression, lines] : seen.prefixes) {
    // A backslash as the last character does not compile.
    if (lines < most || !compiles(expression)) continue;
    most = lines;
    chosen = expression;
  }
  return chosen;
}

// How many bytes of a line to look at, from its begin; nothing unless more than `needed` timestamps
// end near one another.
std::optional<std::ptrdiff_t> chooseLookahead(const Observations& seen, std::size_t needed) {
  constexpr double kNear = 20.0;           // whole bytes from the mean end
  constexpr std::ptrdiff_t kReserve = 20;  // for timestamps longer than the ones at hand
  const double mean = meanOf(seen.ends);
  std::size_t count = 0;
  std::ptrdiff_t sum = 0;
  for (const auto end : seen.ends) {
    if (std::abs(std::trunc(mean - static_cast<double>(end))) >= kNear) continue;
    ++count;
    sum += end;
  }
  if (count <= needed) return std::nullopt;
  return sum / static_cast<std::ptrdiff_t>(count) + kReserve;
}

std::string expressionFor(char anchor) {
  // Without the backslash, which is written as it is.
  constexpr std::string_view kEscaped = "()[]{}*+^$!-?";
  if (anchor == '\t') return R"(\t)";
  if (kEscaped.find(anchor) != std::string_view::npos) return {'\\', anchor};
  return {anchor};
}

}  // namespace

void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings, const TimestampFinder& find) {
  const bool wantsPrefix = !settings.tryGet(key::kTimePrefix);
  const bool wantsLookahead = !settings.tryGet(key::kMaxTimestampLookahead);
  if (!wantsPrefix && !wantsLookahead) return;

  const std::size_t lines = std::min(sample.lineCount(), kMaxExaminedLines);
  const Observations seen = observe(sample, lines, find);
  if (seen.count() <= kTooFewTimestamps) return;
  const auto needed = static_cast<std::size_t>(kAgreeingShare * static_cast<double>(seen.count()));

  if (const auto prefix = chooseTimePrefix(seen, needed); wantsPrefix && !prefix.empty()) {
    settings.set(key::kTimePrefix, prefix);
    logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_FOUND_TIMESTAMP_PREFEX__%s_%s",
               sourcetype, prefix);
  }
  if (const auto lookahead = chooseLookahead(seen, needed); wantsLookahead && lookahead) {
    settings.set(key::kMaxTimestampLookahead, std::to_string(*lookahead));
    logMessage(LogLevel::Info, kFlowLog, "FILE_CLASSIFIER_FOUND_REGULAR_TIMESTAMP__%s_%d",
               sourcetype, *lookahead);
  }
  if (seen.count() < lines) settings.set(key::kShouldLinemerge, flagText(true));
}

std::string makeTimePrefixRegex(std::string_view textBefore) {
  constexpr std::string_view kAnchors = "\t()[]{}*+^$!-\\?@#%=:<>,";
  const auto at = textBefore.find_last_of(kAnchors);
  if (at == std::string_view::npos) return {};
  const char anchor = textBefore[at];
  std::string written = expressionFor(anchor);
  const auto occurrences = std::ranges::count(textBefore, anchor);
  if (occurrences == 1) return written;
  return formatText("(?:.*?%s){%u}", written, occurrences);
}

}  // namespace sourcetype
