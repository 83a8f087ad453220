// Instants as text: "2024-06-15T12:00:00Z", with as many digits of a second as it takes.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

// The text is in the zone that is `utcOffset` seconds east of UTC, and ends with "Z" for UTC, else
// with an offset such as "+02:00".
std::string instantText(std::int64_t seconds, std::int32_t nanoseconds, std::int32_t utcOffset = 0);

// Reads a date, or a date and a time with "T" or a blank between them, then "Z", an offset or
// nothing (UTC). Nothing for any other text.
std::optional<std::chrono::sys_seconds> instantFromText(std::string_view text);

}  // namespace sourcetype
