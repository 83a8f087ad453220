// Decides whether a sample is text or binary.
#pragma once

#include <cstdint>

namespace sourcetype {

// Returns the invalid characters as a percentage of the bytes; 0 for an empty sample. The count
// times 100 is computed in 32 bits, which is enough for every sample that the limits allow.
constexpr double invalidPercentage(std::uint64_t invalidCount, std::uint64_t totalBytes) {
  if (totalBytes == 0) return 0;
  const auto product = static_cast<std::uint32_t>(invalidCount * 100);
  return static_cast<double>(product) / static_cast<double>(totalBytes);
}

// A file with at least this percentage of invalid characters is binary.
inline constexpr double kBinaryPercentage = 10.0;

constexpr bool isBinary(std::uint64_t invalidCount, std::uint64_t totalBytes) {
  return invalidPercentage(invalidCount, totalBytes) >= kBinaryPercentage;
}

}  // namespace sourcetype
