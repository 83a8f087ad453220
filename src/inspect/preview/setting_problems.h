// Says why the preview cannot use a setting.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "timestamp/time_zones.h"

namespace sourcetype {

// The keys that change the preview.
std::vector<std::string> previewKeys();

// "KEY = VALUE: " and the reason; empty if the value can be used, or if the key does not change the
// preview. An empty value counts as unset.
std::string settingProblem(std::string_view key, const std::string& value, const TimeZones& zones);

}  // namespace sourcetype
