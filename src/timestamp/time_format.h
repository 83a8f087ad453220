// TIME_FORMAT: a strptime-style format as an expression with the groups of a stamp's fields.
#pragma once

#include <stdexcept>
#include <string>
#include <string_view>

namespace sourcetype {

// A format with a conversion that is not known, or longer than kMaxTimeFormatBytes.
class TimeFormatError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

constexpr std::size_t kMaxTimeFormatBytes = 256;

// The conversions of strptime() with their flags and modifiers (%E, %O, %-, %_, %0) ignored, and:
//   %N %Q %f %L  digits of a second, as many as a width says (%3N, %6Q), up to 9 without one
//   %s           seconds since 1970, of which %3N and the like may follow at once
//   %z %:z %Ez   an offset or Z; %Z also takes a name of a zone
// A blank stands for any number of blanks and tabs, none included; numbers may be padded with
// zeros, blanks or not at all. A field that comes twice is taken from its first place. Throws
// TimeFormatError.
std::string timeFormatExpression(std::string_view format);

}  // namespace sourcetype
