// Translates a TIME_FORMAT, as of strptime(), into an expression whose groups are named after the
// fields of a timestamp (see timestamp_fields.h).
//
//   timeFormatExpression("%Y-%m-%d %H:%M:%S")
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace sourcetype {

// The format has an unknown conversion or is longer than kMaxTimeFormatBytes.
class TimeFormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr std::size_t kMaxTimeFormatBytes = 256;

// Knows the conversions of strptime(), ignores their flags and modifiers (%E, %O, %-, %_, %0), and
// knows these:
//   %N %Q %f %L  digits of a second: as many as the width says (%3N, %6Q), up to 9 without a width
//   %s           seconds since 1970; a fraction such as %3N may follow directly
//   %z %:z %Ez   an offset or Z
//   %Z           an offset, Z, or the name of a zone
// A blank stands for any number of blanks and tabs, including none. Numbers may be padded with
// zeros or blanks. Of a field that occurs twice the first place counts. Throws TimeFormatError.
std::string timeFormatExpression(std::string_view format);

}  // namespace sourcetype
