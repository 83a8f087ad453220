#include "classifier/statistics.h"

#include <algorithm>

namespace sourcetype {

std::size_t Statistics::countOf(double value) const {
  const auto found = histogram.find(value);
  return found == histogram.end() ? 0 : found->second;
}

Statistics computeStatistics(std::span<const double> samples) {
  Statistics result;
  if (samples.empty()) return result;
  double sum = 0;
  double squareSum = 0;
  for (const double sample : samples) {
    sum += sample;
    squareSum += sample * sample;
    ++result.histogram[sample];
  }
  const auto n = static_cast<double>(samples.size());
  const bool varies = samples.size() > 1;
  result.n = samples.size();
  result.mean = sum / n;
  result.sampleVariance = varies ? std::max(0.0, (squareSum - sum / n * sum) / (n - 1)) : 0.0;
  result.populationVariance = varies ? std::max(0.0, (squareSum - sum * sum / n) / n) : 0.0;
  result.minimum = result.histogram.begin()->first;
  result.maximum = result.histogram.rbegin()->first;
  std::size_t maxCount = 0;
  for (const auto& [value, count] : result.histogram) {
    if (count <= maxCount) continue;
    maxCount = count;
    result.mode = value;
  }
  result.valid = true;
  return result;
}

}  // namespace sourcetype
