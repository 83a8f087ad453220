// Text as a part of HTML.
#pragma once

#include <string>
#include <string_view>

namespace sourcetype {

// `text` for an element or a quoted attribute: it has no markup and is UTF-8. As in the script of the
// page, "\u{HEX}" replaces invisible characters and those that turn the direction of text.
std::string htmlText(std::string_view text);

}  // namespace sourcetype
