#include "classifier/timestamp_learner.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <map>
#include <numeric>
#include <vector>

#include "classifier/flow_log.h"
#include "classifier/properties.h"
#include "conf/message_catalog.h"
#include "timestamp/timestamp_settings.h"
#include "util/format.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

// This many timestamps, or fewer, are too few to propose settings.
constexpr std::size_t kTooFewTimestamps = 30;

// Share of the timestamps that have to agree.
constexpr double kMinAgreeingShare = 0.9;

// Timestamps far into the lines count if at least this share of the lines has one.
constexpr double kMinShareWithFarTimestamp = 0.5;

// Lines that are examined before a share of timestamps is judged.
constexpr std::size_t kProbeLines = 50;

// What was observed in the lines that have a timestamp.
struct Observations {
  std::vector<std::ptrdiff_t> starts;  // byte offsets, in the order of the lines
  std::vector<std::ptrdiff_t> ends;
  // Number of lines by the expression for the text before the timestamp.
  std::map<std::string, std::size_t> prefixes;

  std::size_t count() const { return starts.size(); }
};

// True if `part` is at least this share of `whole`.
bool isShare(std::size_t part, std::size_t whole, double share) {
  return static_cast<double>(part) >= share * static_cast<double>(whole);
}

// Stops when less than `minShare` of the lines so far has a timestamp.
Observations observe(const Sample& sample, std::size_t lines, double minShare,
                     const TimestampFinder& find) {
  constexpr std::ptrdiff_t kAbsentStart = 9999999;  // after the end of every line
  Observations seen;
  for (std::size_t i = 0; i < lines; ++i) {
    if (i >= kProbeLines && !isShare(seen.count(), i, minShare)) break;
    const std::string_view line = sample.line(i);
    const auto timestamp = find(line);
    if (!timestamp || timestamp->main.start < 0 || timestamp->main.end < 0) continue;
    const auto secondStart = timestamp->second.start < 0 ? kAbsentStart : timestamp->second.start;
    const auto start = std::min(timestamp->main.start, secondStart);
    seen.starts.push_back(start);
    seen.ends.push_back(std::max(timestamp->main.end, timestamp->second.end));
    ++seen.prefixes[makeTimePrefixRegex(line.substr(0, static_cast<std::size_t>(start)))];
  }
  return seen;
}

// True if `find` does not see all of some line.
bool hasLongLine(const Sample& sample, std::size_t lines) {
  for (std::size_t i = 0; i < lines; ++i) {
    if (sample.line(i).size() > kDefaultTimestampLookahead) return true;
  }
  return false;
}

Observations observeFarIfFew(const Sample& sample, std::size_t lines, const TimestampFinder& find,
                             const TimestampFinder& findFar) {
  Observations seen = observe(sample, lines, 0.0, find);
  const bool hasFew = seen.count() <= kTooFewTimestamps && lines > kTooFewTimestamps;
  if (!hasFew || !findFar || !hasLongLine(sample, lines)) return seen;
  Observations far = observe(sample, lines, kMinShareWithFarTimestamp, findFar);
  return isShare(far.count(), lines, kMinShareWithFarTimestamp) ? far : seen;
}

double meanOf(const std::vector<std::ptrdiff_t>& offsets) {
  const auto sum = std::accumulate(offsets.begin(), offsets.end(), std::ptrdiff_t{0});
  return static_cast<double>(sum) / static_cast<double>(offsets.size());
}

TimestampEvidence evidenceOf(const Observations& seen, std::size_t lines) {
  TimestampEvidence evidence;
  evidence.lines = lines;
  evidence.linesWithStamp = seen.count();
  if (seen.count() > 0) {
    evidence.meanStart = meanOf(seen.starts);
    evidence.meanEnd = meanOf(seen.ends);
  }
  for (const auto& [expression, count] : seen.prefixes) {
    evidence.prefixes.push_back({.expression = expression, .lines = count});
  }
  std::ranges::stable_sort(evidence.prefixes, std::ranges::greater(),
                           &TimestampEvidence::Prefix::lines);
  return evidence;
}

// Returns the most frequent expression; of equally frequent ones the last in byte order. Returns an
// empty text when fewer than `needed` lines agree, or when the mean start of the timestamps is near
// the start of the lines.
std::string chooseTimePrefix(const Observations& seen, std::size_t needed) {
  constexpr double kMaxNearStart = 10.0;  // mean start in bytes
  if (meanOf(seen.starts) <= kMaxNearStart) return {};
  std::string chosen;
  std::size_t maxLines = needed;
  for (const auto& [expression, lines] : seen.prefixes) {
    // An expression that ends in a backslash does not compile.
    if (lines < maxLines || !compiles(expression)) continue;
    maxLines = lines;
    chosen = expression;
  }
  return chosen;
}

// Returns how many bytes from the start of a line have to be searched for a timestamp. Returns
// nothing unless more than `needed` timestamps end near the mean end.
std::optional<std::ptrdiff_t> chooseLookahead(const Observations& seen, std::size_t needed) {
  constexpr double kMaxNear = 20.0;        // whole bytes from the mean end must be fewer
  constexpr std::ptrdiff_t kReserve = 20;  // for timestamps longer than those of the sample
  const double mean = meanOf(seen.ends);
  std::size_t count = 0;
  std::ptrdiff_t sum = 0;
  for (const auto end : seen.ends) {
    if (std::abs(std::trunc(mean - static_cast<double>(end))) >= kMaxNear) continue;
    ++count;
    sum += end;
  }
  if (count <= needed) return std::nullopt;
  return sum / static_cast<std::ptrdiff_t>(count) + kReserve;
}

std::string expressionFor(char anchor) {
  // The backslash is missing here: it is written without an escape.
  constexpr std::string_view kEscaped = "()[]{}*+^$!-?";
  if (anchor == '\t') return R"(\t)";
  if (kEscaped.find(anchor) != std::string_view::npos) return {'\\', anchor};
  return {anchor};
}

}  // namespace

void learnTimestampSettings(std::string_view sourcetype, const Sample& sample,
                            PropertiesMap& settings, const TimestampFinder& find,
                            const TimestampFinder& findFar, FlowObserver* observer) {
  const bool wantsPrefix = !settings.tryGet(key::kTimePrefix);
  const bool wantsLookahead = !settings.tryGet(key::kMaxTimestampLookahead);
  if (!wantsPrefix && !wantsLookahead) return;

  const std::size_t lines = std::min(sample.lineCount(), kMaxExaminedLines);
  const Observations seen = observeFarIfFew(sample, lines, find, findFar);
  if (observer != nullptr) observer->locatedTimestamps(evidenceOf(seen, lines));
  if (seen.count() <= kTooFewTimestamps) return;
  const auto needed =
      static_cast<std::size_t>(kMinAgreeingShare * static_cast<double>(seen.count()));

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
