#include "timestamp/time_zones.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

#include "timestamp/time_zone_table.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::size_t kHashes = 32768;

// By three letters of a name. Letters of both cases share their low five bits.
constexpr std::size_t zoneNameHash(std::string_view name) {
  return (static_cast<std::size_t>(name.front() & 31) << 10U) |
         (static_cast<std::size_t>(name[name.size() / 2] & 31) << 5U) |
         static_cast<std::size_t>(name.back() & 31);
}

// The hashes of all names. Most words after a time are no zone, and most of them have another hash.
constexpr auto kIsHashOfName = [] {
  std::array<std::uint64_t, kHashes / 64> bits{};
  for (const ZoneEntry& zone : kZoneTable) {
    const auto hash = zoneNameHash(zone.name);
    bits[hash / 64] |= std::uint64_t{1} << (hash % 64);
  }
  return bits;
}();

constexpr bool mayBeName(std::string_view word) {
  const auto hash = zoneNameHash(word);
  return (kIsHashOfName[hash / 64] >> (hash % 64) & 1) != 0;
}

constexpr bool isBeforeIgnoringCase(std::string_view a, std::string_view b) {
  return std::ranges::lexicographical_compare(
      a, b, [](char x, char y) { return toAsciiLower(x) < toAsciiLower(y); });
}
static_assert(std::ranges::is_sorted(kZoneTable, isBeforeIgnoringCase, &ZoneEntry::name));

TimeZone zoneOf(const ZoneEntry& entry) {
  const ZoneSeconds offset = std::chrono::minutes(entry.minutes);
  if (entry.summerRule == 0) return TimeZone(offset);
  const SummerRule& rule = kSummerRules[entry.summerRule - std::size_t{1}];
  return TimeZone(offset, SummerTime{.offset = offset + std::chrono::minutes(rule.minutes),
                                     .begin = rule.begin,
                                     .end = rule.end});
}

const ZoneEntry* findInTable(std::string_view name) {
  if (!mayBeName(name)) return nullptr;
  const auto* found =
      std::ranges::lower_bound(kZoneTable, name, isBeforeIgnoringCase, &ZoneEntry::name);
  if (found == kZoneTable.end() || !equalsIgnoringCase(found->name, name)) return nullptr;
  const bool mustBeSpelledSo = isAsciiUpper(found->name.front());
  if (mustBeSpelledSo && name != found->name) return nullptr;
  return found;
}

bool isAlsoWord(const ZoneEntry& entry) {
  return isAsciiUpper(entry.name.front()) && isAsciiUpper(entry.name.back());
}

std::optional<TimeZone> zoneOfOffset(std::string_view text) {
  const auto offset = parseOffset(text);
  return offset ? std::optional(TimeZone(*offset)) : std::nullopt;
}

}  // namespace

void TimeZones::add(std::string_view name, const TimeZone& zone) {
  if (name.empty()) return;
  added_.insert_or_assign(toAsciiLower(name), zone);
  isHashOfAdded_.set(zoneNameHash(name));
}

std::optional<TimeZone> TimeZones::findByName(std::string_view name, Words words) const {
  if (isHashOfAdded_.test(zoneNameHash(name))) {
    const auto found = added_.find(toAsciiLower(name));
    if (found != added_.end()) return found->second;
  }
  const ZoneEntry* entry = findInTable(name);
  if (entry == nullptr || (words == Words::AreNoZones && isAlsoWord(*entry))) return std::nullopt;
  return zoneOf(*entry);
}

std::optional<TimeZone> TimeZones::find(std::string_view text) const {
  return find(text, Words::AreZones);
}

std::optional<TimeZone> TimeZones::findUnlessWord(std::string_view text) const {
  return find(text, Words::AreNoZones);
}

std::optional<TimeZone> TimeZones::find(std::string_view text, Words words) const {
  if (text.empty()) return std::nullopt;
  if (text.front() == '+' || text.front() == '-' || text.starts_with(kMinusSign)) {
    return zoneOfOffset(text);
  }
  if (const auto zone = findByName(text, words)) return zone;
  const auto name = text.substr(0, 3);
  if (!equalsIgnoringCase(name, "UTC") && !equalsIgnoringCase(name, "GMT")) return std::nullopt;
  return zoneOfOffset(trimBlanks(text.substr(3)));
}

}  // namespace sourcetype
