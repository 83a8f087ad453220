// Statistics of a list of numbers.
#pragma once

#include <cstddef>
#include <map>
#include <span>

namespace sourcetype {

// The value of a figure that could not be computed.
inline constexpr double kUnsetStatistic = -9.99e99;

struct Statistics {
  bool valid = false;  // true when there is at least one sample
  std::size_t n = 0;
  double mean = kUnsetStatistic;
  // Both variances are 0 for a single sample, and when rounding makes them negative.
  double sampleVariance = kUnsetStatistic;
  double populationVariance = kUnsetStatistic;
  double minimum = kUnsetStatistic;
  double maximum = kUnsetStatistic;
  double mode = kUnsetStatistic;            // the most frequent value; if several, the smallest
  std::map<double, std::size_t> histogram;  // number of samples by value

  // Returns the number of samples of that value.
  std::size_t countOf(double value) const;
};

// The result of an empty list is not valid.
Statistics computeStatistics(std::span<const double> samples);

}  // namespace sourcetype
