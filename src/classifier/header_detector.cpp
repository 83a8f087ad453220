#include "classifier/header_detector.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "classifier/header_fields.h"
#include "classifier/header_transform.h"
#include "classifier/statistics.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kFlowLog{"FileClassifier"};

bool isBlankLine(std::string_view line) {
  return std::ranges::all_of(line, isAsciiSpace);
}

// For each delimiter, how often it occurs in each examined line.
using DelimiterSamples = std::array<std::vector<double>, kDelimiters.size()>;

DelimiterSamples sampleDelimiters(const Sample& sample, std::size_t maxLines) {
  DelimiterSamples samples;
  for (std::size_t i = 0; i < sample.lineCount() && samples.front().size() < maxLines; ++i) {
    if (isBlankLine(sample.line(i))) continue;
    const auto counts = countDelimiters(sample.line(i), kDelimiters, kFieldQuote);
    for (std::size_t delimiter = 0; delimiter < counts.size(); ++delimiter) {
      samples[delimiter].push_back(static_cast<double>(counts[delimiter]));
    }
  }
  return samples;
}

struct ScoredDelimiter {
  char delimiter;
  Statistics statistics;
  double score = 0;  // from 0 to 1; 1 when every line has the delimiter equally often
};

ScoredDelimiter scoreDelimiter(char delimiter, std::span<const double> samples) {
  ScoredDelimiter scored{.delimiter = delimiter, .statistics = computeStatistics(samples)};
  const Statistics& statistics = scored.statistics;
  const double deviation =
      statistics.valid ? std::sqrt(statistics.sampleVariance) : kUnsetStatistic;
  double variation = kUnsetStatistic;  // deviation / mean
  double fraction = kUnsetStatistic;   // share of the lines that have it as often as the mode
  if (statistics.valid && statistics.mode != 0) {
    if (statistics.mean > 0) variation = deviation / statistics.mean;
    fraction = static_cast<double>(statistics.countOf(statistics.mode)) /
               static_cast<double>(statistics.n);
    if (variation >= 0) scored.score = (fraction + 1) / (1 + variation) * 0.5;
  }
  logDebug(kFlowLog,
           "delim='%s', mean=%.3f, stdev=%.3f, cv=%.3f, mode=%.3f, fract=%.3f, score=%.3f\n",
           delimiterText(delimiter), statistics.mean, deviation, variation, statistics.mode,
           fraction, scored.score);
  return scored;
}

ScoredDelimiter chooseDelimiter(const Sample& sample, std::size_t maxLines) {
  const DelimiterSamples samples = sampleDelimiters(sample, maxLines);
  ScoredDelimiter best = scoreDelimiter(kDelimiters.front(), samples.front());
  for (std::size_t i = 1; i < kDelimiters.size(); ++i) {
    auto scored = scoreDelimiter(kDelimiters[i], samples[i]);
    if (scored.score > best.score) best = std::move(scored);
  }
  return best;
}

std::optional<std::string_view> findHeaderLine(const Sample& sample,
                                               const ScoredDelimiter& chosen) {
  constexpr std::size_t kMaxHeaderLines = 10;  // that are examined; blank lines do not count
  // Above 0, because the score is above 0.
  const auto minDelimiters = static_cast<std::size_t>(chosen.statistics.mode);
  std::size_t examined = 0;
  for (std::size_t i = 0; i < sample.lineCount() && examined < kMaxHeaderLines; ++i) {
    if (isBlankLine(sample.line(i))) continue;
    ++examined;
    if (splitFields(sample.line(i), chosen.delimiter).size() > minDelimiters) return sample.line(i);
  }
  return std::nullopt;
}

}  // namespace

DelimiterCounts countDelimiters(std::string_view line, const decltype(kDelimiters)& delimiters,
                                char quote) {
  DelimiterCounts counts{};
  bool quoted = false;
  for (const char c : line) {
    if (c == quote) quoted = !quoted;
    if (quoted) continue;
    for (std::size_t i = 0; i < delimiters.size(); ++i) {
      if (c == delimiters[i]) ++counts[i];
    }
  }
  return counts;
}

bool detectHeader(std::string_view fileName, const Sample& sample, PropertiesMap& result,
                  ConfStore& store, const NewSourcetype* newSourcetype, HeaderLimits limits) {
  if (sample.lineCount() == 0 || limits.maxLines == 0) return false;
  const ScoredDelimiter chosen = chooseDelimiter(sample, limits.maxLines);
  const std::string delimiter = delimiterText(chosen.delimiter);
  logInfo(kFlowLog, "AutoHeader: delim='%s', score=%.3f, count=%lu, mode=%.3lf, filename=\"%s\"\n",
          delimiter, chosen.score, chosen.statistics.n, chosen.statistics.mode, fileName);
  if (!(chosen.score > limits.threshold)) {
    logInfo(kFlowLog,
            "AutoHeader: delimiter='%s' score=%.3f does not pass threshold=%.3f, filename=\"%s\"",
            delimiter, chosen.score, limits.threshold, fileName);
    return false;
  }
  const auto header = findHeaderLine(sample, chosen);
  if (!header) return false;
  logInfo(kFlowLog, R"(AutoHeader: filename="%s", found headerline=[%s])", fileName, *header);
  const auto names = nameFields(splitFields(*header, chosen.delimiter));
  return applyHeaderTransform(fileName, makeHeaderTransform(chosen.delimiter, names), result, store,
                              newSourcetype);
}

}  // namespace sourcetype
