// Gives events their times.
#pragma once

#include <chrono>
#include <span>
#include <string>

#include "conf/properties_map.h"
#include "inspect/preview/preview_event.h"
#include "timestamp/timestamp_formats.h"

namespace sourcetype {

// Finds the timestamps of events in their order, by the settings that timestamp_settings.h lists.
// An event of many lines is searched in its first 256 lines. `name` is the name of the log,
// `reference` the present.
void findEventTimes(std::span<PreviewEvent> events, const PropertiesMap& settings,
                    const TimestampFormats& formats, const std::string& name,
                    std::chrono::sys_seconds reference);

}  // namespace sourcetype
