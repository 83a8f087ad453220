// What a list of numbers looks like.
#pragma once

#include <cstddef>
#include <map>
#include <span>

namespace sourcetype {

// Figures that say nothing read as this.
inline constexpr double kUnsetStatistic = -9.99e99;

struct Statistics {
  bool valid = false;  // computed of at least one sample
  std::size_t n = 0;
  double mean = kUnsetStatistic;
  double sampleVariance = kUnsetStatistic;  // 0 for a single sample, and where rounding left less
  double populationVariance = kUnsetStatistic;  // the same
  double minimum = kUnsetStatistic;
  double maximum = kUnsetStatistic;
  double mode = kUnsetStatistic;            // the most frequent value, of several the smallest
  std::map<double, std::size_t> histogram;  // samples by value

  // Samples of that value.
  std::size_t countOf(double value) const;
};

// Not valid for an empty list.
Statistics computeStatistics(std::span<const double> samples);

}  // namespace sourcetype
