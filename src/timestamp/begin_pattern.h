// The words of a form's "begins": which places a form is tried at.
#pragma once

#include <optional>
#include <string_view>
#include <vector>

#include "timestamp/stamp_place.h"

namespace sourcetype {

// The looks that one word stands for ("9999-", "99s", "month"); nothing when it is none.
std::optional<std::vector<PlaceLook>> looksOf(std::string_view word);

}  // namespace sourcetype
