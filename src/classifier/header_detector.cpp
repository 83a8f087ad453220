#include "classifier/header_detector.h"

#include <algorithm>
#include <cmath>
#include <optional>
#include <vector>

#include "classifier/flow_log.h"
#include "classifier/header_fields.h"
#include "classifier/header_transform.h"
#include "classifier/statistics.h"
#include "classifier/tables/table_sniffer.h"
#include "util/logging.h"
#include "util/text.h"

namespace sourcetype {
namespace {

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

ScoredDelimiter chooseDelimiter(const Sample& sample, std::size_t maxLines,
                                HeaderEvidence& evidence) {
  const DelimiterSamples samples = sampleDelimiters(sample, maxLines);
  ScoredDelimiter best = scoreDelimiter(kDelimiters.front(), samples.front());
  evidence.delimiters.push_back({.delimiter = best.delimiter, .score = best.score});
  for (std::size_t i = 1; i < kDelimiters.size(); ++i) {
    auto scored = scoreDelimiter(kDelimiters[i], samples[i]);
    evidence.delimiters.push_back({.delimiter = scored.delimiter, .score = scored.score});
    if (scored.score > best.score) best = std::move(scored);
  }
  for (auto& tried : evidence.delimiters) tried.isChosen = tried.delimiter == best.delimiter;
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

struct FoundHeader {
  char delimiter;
  std::string line;
  std::vector<std::string> names;
};

void logDelimiter(std::string_view fileName, char delimiter, double score, std::size_t count,
                  double mode) {
  logInfo(kFlowLog, "AutoHeader: delim='%s', score=%.3f, count=%lu, mode=%.3lf, filename=\"%s\"\n",
          delimiterText(delimiter), score, count, mode, fileName);
}

std::optional<FoundHeader> findByDelimiters(std::string_view fileName, const Sample& sample,
                                            HeaderLimits limits, HeaderEvidence& evidence) {
  evidence.threshold = limits.threshold;
  const ScoredDelimiter chosen = chooseDelimiter(sample, limits.maxLines, evidence);
  logDelimiter(fileName, chosen.delimiter, chosen.score, chosen.statistics.n,
               chosen.statistics.mode);
  if (!(chosen.score > limits.threshold)) {
    logInfo(kFlowLog,
            "AutoHeader: delimiter='%s' score=%.3f does not pass threshold=%.3f, filename=\"%s\"",
            delimiterText(chosen.delimiter), chosen.score, limits.threshold, fileName);
    return std::nullopt;
  }
  const auto line = findHeaderLine(sample, chosen);
  if (!line) return std::nullopt;
  return FoundHeader{chosen.delimiter, std::string(*line),
                     nameFields(splitFields(*line, chosen.delimiter))};
}

Table sniffSample(const Sample& sample, std::size_t maxLines) {
  std::vector<std::string_view> lines;
  for (std::size_t i = 0; i < sample.lineCount() && lines.size() < maxLines; ++i) {
    if (!isBlankLine(sample.line(i))) lines.push_back(sample.line(i));
  }
  return sniffTable(lines);
}

std::optional<FoundHeader> findByNames(std::string_view fileName, const Sample& sample,
                                       HeaderLimits limits, HeaderEvidence& evidence) {
  const Table table = sniffSample(sample, limits.maxLines);
  evidence.byNames = true;
  evidence.delimiters.push_back(
      {.delimiter = table.delimiter, .score = table.score, .isChosen = true});
  logDelimiter(fileName, table.delimiter, table.score, table.records,
               table.columns == 0 ? 0 : static_cast<double>(table.columns - 1));
  if (table.names.empty()) {
    logInfo(kFlowLog, R"(AutoHeader: no line names the columns, filename="%s")", fileName);
    return std::nullopt;
  }
  const std::vector<std::string_view> cells(table.names.begin(), table.names.end());
  return FoundHeader{table.delimiter, table.header, nameFields(cells)};
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
                  ConfStore& store, const NewSourcetype* newSourcetype, HeaderTest test,
                  HeaderLimits limits, FlowObserver* observer) {
  if (sample.lineCount() == 0 || limits.maxLines == 0) return false;
  HeaderEvidence evidence;
  const auto header = test == HeaderTest::Names
                          ? findByNames(fileName, sample, limits, evidence)
                          : findByDelimiters(fileName, sample, limits, evidence);
  if (header) evidence.line = header->line;
  if (observer != nullptr) observer->soughtHeader(evidence);
  if (!header) return false;
  logInfo(kFlowLog, R"(AutoHeader: filename="%s", found headerline=[%s])", fileName, header->line);
  const auto transform = makeHeaderTransform(header->delimiter, header->names);
  return applyHeaderTransform(fileName, transform, result, store, newSourcetype);
}

}  // namespace sourcetype
