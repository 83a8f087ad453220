#include "inspect/near_names.h"

#include <algorithm>
#include <cstddef>
#include <vector>

#include "util/text.h"

namespace sourcetype {
namespace {

// In bytes. Longer names are not compared, because the cost grows with the square of the length.
constexpr std::size_t kMaxLength = 100;

// The number of letters to insert, remove, replace or swap with their neighbour.
std::size_t editDistance(std::string_view left, std::string_view right) {
  using Row = std::vector<std::size_t>;
  Row before(right.size() + 1);
  Row previous(right.size() + 1);
  Row current(right.size() + 1);
  for (std::size_t j = 0; j <= right.size(); ++j) current[j] = j;
  for (std::size_t i = 1; i <= left.size(); ++i) {
    before.swap(previous);
    previous.swap(current);
    current[0] = i;
    for (std::size_t j = 1; j <= right.size(); ++j) {
      const std::size_t replaced = previous[j - 1] + (left[i - 1] == right[j - 1] ? 0 : 1);
      current[j] = std::min({previous[j] + 1, current[j - 1] + 1, replaced});
      const bool isSwapped =
          i > 1 && j > 1 && left[i - 1] == right[j - 2] && left[i - 2] == right[j - 1];
      if (isSwapped) current[j] = std::min(current[j], before[j - 2] + 1);
    }
  }
  return current.back();
}

}  // namespace

std::optional<std::string> nearestName(std::string_view name,
                                       std::span<const std::string> candidates) {
  return nearestName(name, candidates, std::max<std::size_t>(name.size() / 3, 1));
}

std::optional<std::string> nearestName(std::string_view name,
                                       std::span<const std::string> candidates,
                                       std::size_t maxChanges) {
  if (name.size() > kMaxLength) return std::nullopt;
  const std::string wanted = toAsciiLower(name);
  std::size_t best = maxChanges + 1;
  std::optional<std::string> nearest;
  for (const auto& candidate : candidates) {
    if (candidate.size() > kMaxLength) continue;
    const std::size_t distance = editDistance(wanted, toAsciiLower(candidate));
    if (distance >= best) continue;
    best = distance;
    nearest = candidate;
  }
  return nearest;
}

}  // namespace sourcetype
