// The words of a form's "begins": which places a form is tried at.
#pragma once

#include <string_view>
#include <vector>

#include "timestamp/stamp_place.h"

namespace sourcetype {

// The looks that one word stands for ("9999-a", "99s", "month"); none when it means nothing.
std::vector<PlaceLook> looksOf(std::string_view word);

}  // namespace sourcetype
