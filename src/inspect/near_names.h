// Finds the name that somebody probably meant.
#pragma once

#include <cstddef>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace sourcetype {

// The candidate with the fewest changed letters (inserted, removed, replaced, or two neighbours
// swapped); the first of several. Case does not count. Nothing when every candidate needs more
// changes than a third of the length of `name`, where one change is always allowed, or when `name`
// has more than 100 bytes.
std::optional<std::string> nearestName(std::string_view name,
                                       std::span<const std::string> candidates);

// The same with a limit of its own: nothing when every candidate needs more changes.
std::optional<std::string> nearestName(std::string_view name,
                                       std::span<const std::string> candidates,
                                       std::size_t maxChanges);

}  // namespace sourcetype
