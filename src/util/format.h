// Formats texts from configuration at run time as printf would, but without the C library. A format
// that does not fit its arguments does no harm; the result is still readable.
//
//   formatText("%s has %d lines", name, lines)
#pragma once

#include <array>
#include <concepts>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <variant>

namespace sourcetype {

// Text that is printed unchanged, newlines included, such as a whole PropertiesMap. In every other
// text argument a control character other than a tab is shown as \xHH, so that a file name cannot
// forge a second log record.
struct MultiLineText {
  std::string_view text;
};

// One argument, borrowed for the length of the call. A std::error_code is the value of "%m"; no
// other conversion uses it.
using FormatArgument = std::variant<std::string_view, MultiLineText, char, long long,
                                    unsigned long long, double, std::error_code>;

template <class T>
FormatArgument makeFormatArgument(const T& value) {
  if constexpr (std::same_as<T, char> || std::same_as<T, std::error_code> ||
                std::same_as<T, MultiLineText>) {
    return value;
  } else if constexpr (std::floating_point<T>) {
    return static_cast<double>(value);
  } else if constexpr (std::unsigned_integral<T>) {
    return static_cast<unsigned long long>(value);
  } else if constexpr (std::integral<T>) {
    return static_cast<long long>(value);
  } else {
    return std::string_view(value);
  }
}

// `text` as one line: control characters other than tabs are shown as \xHH.
std::string escapeControlCharacters(std::string_view text);

// Formats `arguments` as printf would, including length modifiers and "%2$s".
// - "%s" accepts any argument. Length modifiers never change the value of a number.
// - "%m" uses no argument: it is the text of the first std::error_code among them, or of errno.
// - Where a conversion does not fit its argument, or there are more or fewer conversions than
//   arguments, the result is the format itself, followed by every argument in brackets.
// format.cpp has the limits of field widths and of the number of conversions.
std::string formatText(std::string_view format, std::span<const FormatArgument> arguments);

template <class... Args>
std::string formatText(std::string_view format, const Args&... args) {
  const std::array<FormatArgument, sizeof...(args)> arguments{makeFormatArgument(args)...};
  return formatText(format, std::span<const FormatArgument>(arguments));
}

}  // namespace sourcetype
