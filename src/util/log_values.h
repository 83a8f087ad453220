// Values of the settings that configure logging.
#pragma once

#include <log4cpp/Priority.hh>

#include <optional>
#include <string_view>

namespace sourcetype {

std::optional<unsigned> parseLogNumber(std::string_view text, unsigned min, unsigned max);

// `text` is a name in any case, or a number in the back end's scale (0 for EMERG, 800 for NOTSET).
std::optional<log4cpp::Priority::Value> parseLogLevel(std::string_view text);

std::optional<bool> parseLogFlag(std::string_view text);

}  // namespace sourcetype
