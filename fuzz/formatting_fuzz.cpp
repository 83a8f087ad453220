// Formatting of configured texts. Input: a format, then arguments: a letter that says which type,
// and its text.
#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "support.h"
#include "util/format.h"

namespace sourcetype::fuzzing {
namespace {

// The limits of format.cpp.
constexpr std::size_t kMostConversions = 100;
constexpr std::size_t kWidestField = 1000;

template <class Number>
Number numberFrom(std::string_view text) {
  Number number{};
  std::from_chars(text.data(), text.data() + text.size(), number);
  return number;
}

FormatArgument argumentFrom(std::string_view text) {
  const char type = text.empty() ? 's' : text.front();
  const auto value = text.substr(text.empty() ? 0 : 1);
  switch (type) {
    case 'c':
      return value.empty() ? '\0' : value.front();
    case 'd':
      return numberFrom<long long>(value);
    case 'u':
      return numberFrom<unsigned long long>(value);
    case 'f':
      return numberFrom<double>(value);
    case 'e':
      return std::error_code(numberFrom<int>(value), std::generic_category());
    case 'n':
      return MultiLineText{value};
    default:
      return value;
  }
}

std::string formatted(std::string_view format, std::span<const FormatArgument> arguments) {
  return formatText(format, arguments);
}

bool hasControlCharacter(std::string_view text) {
  return std::ranges::any_of(text,
                             [](char c) { return (c >= 0 && c < ' ' && c != '\t') || c == 127; });
}

// Whether the format is one conversion to a letter of `letters`, with flags of `flags` only, width
// and precision. C leaves the meaning of other flags open.
bool isOneConversion(std::string_view format, std::string_view letters, std::string_view flags) {
  constexpr std::size_t kMostDigits = 3;
  constexpr std::size_t kMostPrecisionDigits = 2;  // fmt ends a double after 767 digits, C goes on
  const auto takeRun = [&](std::string_view characters) {
    const auto length = std::min(format.find_first_not_of(characters), format.size());
    format.remove_prefix(length);
    return length;
  };
  if (takeRun("%") != 1) return false;
  takeRun(flags);
  if (format.starts_with('0') || takeRun("0123456789") > kMostDigits) return false;
  if (format.starts_with('.')) {
    format.remove_prefix(1);
    if (takeRun("0123456789") > kMostPrecisionDigits) return false;
  }
  return format.size() == 1 && letters.find(format.front()) != std::string_view::npos;
}

template <class Value>
std::string printed(std::string format, std::string_view length, Value value) {
  format.insert(format.size() - 1, length);
  std::string text(2000, '\0');
  const int size = std::snprintf(text.data(), text.size(), format.c_str(), value);
  text.resize(static_cast<std::size_t>(size));
  return text;
}

// Against the C library, where a conversion fits its argument. C prints no digit of a 0 whose
// precision is 0.
void checkAgainstLibrary(std::string_view format, const FormatArgument& argument) {
  const std::string result = formatted(format, std::span(&argument, 1));
  const std::string plain(format);
  if (const auto* number = std::get_if<long long>(&argument)) {
    if (*number == 0 || !isOneConversion(format, "di", "-+ 0")) return;
    require(result == printed(plain, "ll", *number), "a signed number prints as in C");
  } else if (const auto* natural = std::get_if<unsigned long long>(&argument)) {
    if (*natural == 0 || !isOneConversion(format, "uoxX", "-#0")) return;
    require(result == printed(plain, "ll", *natural), "an unsigned number prints as in C");
  } else if (const auto* real = std::get_if<double>(&argument)) {
    if (!isOneConversion(format, "eEfFgG", "-+ 0")) return;
    require(result == printed(plain, "", *real), "a floating-point number prints as in C");
  } else if (const auto* text = std::get_if<std::string_view>(&argument)) {
    const bool isPlain = std::ranges::all_of(*text, [](char c) { return c >= ' ' && c < 127; });
    if (!isOneConversion(format, "s", "-") || !isPlain) return;
    require(result == printed(plain, "", std::string(*text).c_str()), "a text prints as in C");
  }
}

}  // namespace

std::vector<std::string> seeds() {
  return {joined({"%s is %d of %lu", "sa name", "d-7", "u18446744073709551615"}),
          joined({"%2$s %1$-8.3f|%%", "f3.25", "stext"}),
          joined({"%*d %.*f %c", "d5", "d1", "d-2", "f1e300", "cx"}),
          joined({"%+08.3Lf", "f-1.5"}),
          joined({"%#llx", "u255"}),
          joined({"% -5d", "d42"}),
          joined({"%.2s: %m", "s\n\x1B[1m", "e2"}),
          joined({"%s %s", "sonly one"}),
          joined({"%n%9999999d%", "d1"}),
          joined({"%u", "d-1"}),
          joined({"%a %G", "f0.1", "finf"}),
          joined({"line\n%s", "nmany\nlines\xC2\x85"}),
          joined({"%o", "u8"}),
          joined({"%5s", "sab"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto format = parts.next();
  std::vector<FormatArgument> arguments;
  std::size_t longest = kWidestField;
  std::size_t total = 0;
  bool mayHaveLines = false;
  for (const auto part : parts.all()) {
    arguments.push_back(argumentFrom(part));
    mayHaveLines = mayHaveLines || part.starts_with('n');
    longest = std::max(longest, 4 * part.size() + 400);  // a double in full has 309 digits
    total += 4 * part.size() + 400;
  }
  const std::string result = formatted(format, arguments);
  require(result.size() <= format.size() + total + kMostConversions * (longest + kWidestField),
          "a text has bounded size");
  require(hasControlCharacter(format) || mayHaveLines || !hasControlCharacter(result),
          "an argument adds no control characters");
  require(!hasControlCharacter(escapeControlCharacters(input)), "nothing escapes the escape");
  if (arguments.size() == 1) checkAgainstLibrary(format, arguments.front());
}

}  // namespace sourcetype::fuzzing
