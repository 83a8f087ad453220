// Instants as text: "2024-06-15T12:00:00Z", with as many digits of a second as it takes.
#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace sourcetype {

// In UTC.
std::string instantText(std::int64_t seconds, std::int32_t nanoseconds);

// The inverse for whole seconds: a date, or date and time with T or a blank between, with Z, an
// offset or nothing (UTC) behind. Nothing for any other text.
std::optional<std::chrono::sys_seconds> instantFromText(std::string_view text);

}  // namespace sourcetype
