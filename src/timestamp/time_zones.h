// Time zones by their names.
//
//   const TimeZones zones;
//   const auto zone = zones.find("Europe/Berlin");  // or "CEST", "+02:00", "UTC+2"
#pragma once

#include <bitset>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "timestamp/time_zone.h"

namespace sourcetype {

// Knows the zones of the time zone database, the letters that logs carry, and those of RFC 2822
// (see tools/make_time_zones.pl). Made without cost: that table is compiled in.
class TimeZones {
 public:
  // Replaces the zone that had the name.
  void add(std::string_view name, const TimeZone& zone);

  // The zone of a name in any case, of an offset, or of an offset after "UTC" or "GMT". Names that
  // are also words, such as "Turkey", must be spelled as the database does.
  std::optional<TimeZone> find(std::string_view text) const;

  // The same, except that abbreviations that are also words, such as "GET", are not found.
  std::optional<TimeZone> findUnlessWord(std::string_view text) const;

 private:
  enum class Words : std::uint8_t { AreZones, AreNoZones };
  std::optional<TimeZone> find(std::string_view text, Words words) const;
  std::optional<TimeZone> findByName(std::string_view name, Words words) const;

  std::unordered_map<std::string, TimeZone> added_;  // names in lower case
  std::bitset<32768> isHashOfAdded_;                 // see zoneNameHash()
};

}  // namespace sourcetype
