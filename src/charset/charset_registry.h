// The supported charsets, and the converter of each.
#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "charset/charset_converter.h"

namespace sourcetype {

// "UTF-16LE" becomes "utf16le": drops all bytes except ASCII letters and digits, converts upper
// case to lower case.
std::string normaliseCharsetName(std::string_view name);

// A new converter for a charset, in any spelling that normaliseCharsetName() makes equal. Null when
// the name is unknown, or when the system's iconv, which has most tables, does not have the
// charset.
std::unique_ptr<CharsetConverter> findConverter(std::string_view charsetName);

}  // namespace sourcetype
