#include "util/log_values.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <system_error>

#include "util/text.h"

namespace sourcetype {

using log4cpp::Priority;

std::optional<unsigned> parseLogNumber(std::string_view text, unsigned min, unsigned max) {
  const char* end = text.data() + text.size();
  unsigned result = 0;
  const auto parsed = std::from_chars(text.data(), end, result);
  const bool isNumber = parsed.ec == std::errc() && parsed.ptr == end;
  return isNumber && result >= min && result <= max ? std::optional(result) : std::nullopt;
}

std::optional<Priority::Value> parseLogLevel(std::string_view text) {
  constexpr std::array<std::string_view, 10> kNames{"EMERG", "FATAL",  "ALERT", "CRIT",  "ERROR",
                                                    "WARN",  "NOTICE", "INFO",  "DEBUG", "NOTSET"};
  const auto upper = toAsciiUpper(text);
  if (std::ranges::find(kNames, upper) != kNames.end()) return Priority::getPriorityValue(upper);
  return parseLogNumber(text, Priority::EMERG, Priority::NOTSET);
}

std::optional<bool> parseLogFlag(std::string_view text) {
  if (equalsIgnoringCase(text, "true")) return true;
  if (equalsIgnoringCase(text, "false")) return false;
  return std::nullopt;
}

}  // namespace sourcetype
