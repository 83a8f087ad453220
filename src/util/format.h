// printf-style formatting of texts that come from configuration at run time, without the C library:
// a format that does not fit its arguments still gives something readable and harms nothing.
#pragma once

#include <array>
#include <concepts>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <variant>

namespace sourcetype {

// Text that is printed as it stands, newlines included: the print form of a PropertiesMap, say. In
// any other text argument a control character (but a tab) is shown as \xHH, so that a file name
// cannot forge a second log record.
struct MultiLineText {
  std::string_view text;
};

// One argument, borrowed for the length of the call. A std::error_code is no argument of its own:
// it says what "%m" stands for.
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

// The text with its control characters (but tabs) shown as \xHH, which leaves one line.
std::string escapeControlCharacters(std::string_view text);

// Formats `arguments` as printf would, length modifiers and "%2$s" included. "%s" takes any
// argument; a number keeps its value whatever the modifier says. "%m" takes no argument: it is the
// text of the first std::error_code among them, or of errno. Where a conversion does not fit its
// argument, or the numbers of both differ, the result is the unformatted text followed by every
// argument in brackets. What a format can do is bounded: see the limits in format.cpp.
std::string formatText(std::string_view format, std::span<const FormatArgument> arguments);

template <class... Args>
std::string formatText(std::string_view format, const Args&... args) {
  const std::array<FormatArgument, sizeof...(args)> arguments{makeFormatArgument(args)...};
  return formatText(format, std::span<const FormatArgument>(arguments));
}

}  // namespace sourcetype
