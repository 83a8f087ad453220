// printf-style formatting of texts that come from configuration at run time, without the C library:
// a format that does not fit its arguments still gives something readable and harms nothing.
#pragma once

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

// Formats `arguments` as printf would. "%m" gives the text of the first std::error_code among them.
// Where a conversion does not fit its argument, or the numbers of both differ, the result is the
// unformatted text followed by every argument in brackets.
std::string formatText(std::string_view format, std::span<const FormatArgument> arguments);

template <class... Args>
std::string formatText(std::string_view format, const Args&... args) {
  const FormatArgument arguments[] = {makeFormatArgument(args)..., FormatArgument('\0')};
  return formatText(format, std::span(arguments, sizeof...(args)));
}

}  // namespace sourcetype
