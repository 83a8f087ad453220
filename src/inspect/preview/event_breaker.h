// Groups lines to events as the server does:
//
//   SHOULD_LINEMERGE false        Each line is an event.
//   BREAK_ONLY_BEFORE             Each line with a match begins an event.
//   neither                       Each line with a timestamp begins an event.
//
// SHOULD_LINEMERGE is true when unset. The first line always begins an event.
#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"
#include "inspect/preview/log_text.h"

namespace sourcetype {

struct EventBreaks {
  std::vector<std::size_t> starts;  // indexes of the lines that begin events, ascending
  std::string problem;              // why BREAK_ONLY_BEFORE was not used for all lines, or empty
};

// `hasTimestamp` is called with the lines in their order, only if it is needed. A BREAK_ONLY_BEFORE
// that does not compile counts as unset.
EventBreaks breakEvents(std::span<const LogLine> lines, const PropertiesMap& settings,
                        const std::function<bool(std::string_view)>& hasTimestamp);

}  // namespace sourcetype
