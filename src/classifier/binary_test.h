// Whether a sample is text.
#pragma once

#include <cstdint>

namespace sourcetype {

// Invalid characters in a hundred bytes; 0 for an empty sample. The count times 100 is taken in 32
// bits, which holds for every sample that the limits allow.
constexpr double invalidPercentage(std::uint64_t invalidCount, std::uint64_t totalBytes) {
  if (totalBytes == 0) return 0;
  const auto product = static_cast<std::uint32_t>(invalidCount * 100);
  return static_cast<double>(product) / static_cast<double>(totalBytes);
}

// From this share on, the boundary itself included, a file is no text.
inline constexpr double kBinaryPercentage = 10.0;

constexpr bool isBinary(std::uint64_t invalidCount, std::uint64_t totalBytes) {
  return invalidPercentage(invalidCount, totalBytes) >= kBinaryPercentage;
}

}  // namespace sourcetype
