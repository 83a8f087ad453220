// The words of a form's "begins" in datetime.xml, which say where the form is tried.
#pragma once

#include <string_view>
#include <vector>

#include "timestamp/timestamp_place.h"

namespace sourcetype {

// The looks that a word such as "9999-a", "9{2,3}s" or "month" stands for; empty for a faulty word.
std::vector<PlaceLook> looksOf(std::string_view word);

}  // namespace sourcetype
