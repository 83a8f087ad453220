// The charsets that a file can be read in, and the converter of each.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "charset/charset_converter.h"

namespace sourcetype {

// "UTF-16LE" becomes "utf16le": bytes that are no ASCII letters or digits are dropped, upper case
// becomes lower case.
std::string normaliseCharsetName(std::string_view name);

// A new converter for a charset named in any spelling; nothing when the name is unknown or when the
// system's iconv, which supplies most tables, does not have the charset.
std::unique_ptr<CharsetConverter> findConverter(std::string_view charsetName);

}  // namespace sourcetype
