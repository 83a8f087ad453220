// JSON that can be a part of an HTML page.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "inspect/output.h"

namespace sourcetype {

// The text of a <script type="application/json"> element. It has no "<", so nothing in it can end the
// element or begin a comment, and it is UTF-8: U+FFFD replaces other bytes of strings.
std::string scriptText(const Json& json);

}  // namespace sourcetype
