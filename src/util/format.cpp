// This file reads and checks each conversion; fmt writes the value. fmt uses the type of the
// argument, not the type that the conversion claims.
#include "util/format.h"

#include <fmt/printf.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <functional>
#include <optional>
#include <utility>
#include <vector>

#include "util/text.h"

namespace sourcetype {
namespace {

// Characters of a field, and digits of a fraction. No message needs more; a larger number is a
// mistake.
constexpr int kMaxFieldWidth = 1000;

// A format could print the same long argument any number of times.
constexpr int kMaxConversions = 100;

[[noreturn]] void refuse(const char* reason) {
  throw fmt::format_error(reason);
}

struct ArgumentText {
  std::string operator()(std::string_view text) const { return escapeControlCharacters(text); }
  std::string operator()(MultiLineText text) const { return std::string(text.text); }
  std::string operator()(char character) const {
    return escapeControlCharacters(std::string_view(&character, 1));
  }
  std::string operator()(std::error_code error) const {
    return escapeControlCharacters(error.message());
  }
  template <class Number>
  std::string operator()(Number number) const {
    return fmt::to_string(number);
  }
};

std::string textOf(const FormatArgument& argument) {
  return std::visit(ArgumentText(), argument);
}

class Formatter {
 public:
  Formatter(std::string_view format, std::span<const FormatArgument> arguments, int systemError)
      : rest_(format), error_(systemError, std::generic_category()) {
    bool errorGiven = false;
    for (const auto& argument : arguments) {
      const auto* error = std::get_if<std::error_code>(&argument);
      if (error == nullptr) {
        arguments_.push_back(&argument);
      } else if (!std::exchange(errorGiven, true)) {
        error_ = *error;
      }
    }
    used_.resize(arguments_.size());
  }

  // Throws fmt::format_error when format and arguments do not fit.
  std::string format() {
    std::string result;
    for (int conversions = 0;; ++conversions) {
      const auto percent = rest_.find('%');
      result += rest_.substr(0, percent);
      if (percent == std::string_view::npos) break;
      if (conversions == kMaxConversions) refuse("too many conversions");
      rest_.remove_prefix(percent + 1);
      result += accept('%') ? "%" : convert();
    }
    if (!std::ranges::all_of(used_, std::identity())) refuse("an argument is left over");
    return result;
  }

 private:
  // Formats one conversion; its "%" is already consumed.
  std::string convert() {
    const auto position = acceptPosition();
    std::string field = "%";
    while (nextIsOneOf("-+ #0")) {
      const char flag = take();
      if (field.find(flag) == std::string::npos) field += flag;  // fmt reads several 0s as a number
    }
    if (const int width = acceptSize(); width != 0) {
      field += std::to_string(width);
    }
    if (accept('.')) {
      const int precision = acceptSize();
      if (precision >= 0) field += "." + std::to_string(precision);
    }
    while (nextIsOneOf("hlqLjzt")) take();
    const char letter = take();
    if (letter == 'm') return fmt::sprintf(field + "s", textOf(error_));
    return write(field, letter, argument(position));
  }

  static std::string write(const std::string& field, char letter, const FormatArgument& argument) {
    switch (letter) {
      case 's':
        return fmt::sprintf(field + "s", textOf(argument));
      case 'c':
        if (!std::holds_alternative<char>(argument)) refuse("not a character");
        return fmt::sprintf(field + "s", textOf(argument));
      case 'd':
      case 'i':
      case 'u':
        return writeInteger(field, std::nullopt, argument);
      case 'o':
      case 'x':
      case 'X':
        return writeInteger(field, letter, argument);
      case 'a':
      case 'A':
      case 'e':
      case 'E':
      case 'f':
      case 'F':
      case 'g':
      case 'G':
        if (!std::holds_alternative<double>(argument)) refuse("not a floating-point number");
        return fmt::sprintf(field + letter, std::get<double>(argument));
      default:
        refuse("unknown conversion");
    }
  }

  // Without `letter`: decimal, signed or unsigned as the argument is.
  static std::string writeInteger(const std::string& field, std::optional<char> letter,
                                  const FormatArgument& argument) {
    if (const auto* number = std::get_if<unsigned long long>(&argument)) {
      return fmt::sprintf(field + letter.value_or('u'), *number);
    }
    return fmt::sprintf(field + letter.value_or('d'), signedInteger(argument));
  }

  static long long signedInteger(const FormatArgument& argument) {
    if (const auto* character = std::get_if<char>(&argument)) return *character;
    if (!std::holds_alternative<long long>(argument)) refuse("not an integer");
    return std::get<long long>(argument);
  }

  // The argument at `position`, which counts from 1, or else the next one in order.
  const FormatArgument& argument(std::optional<int> position) {
    const std::size_t index = position ? static_cast<std::size_t>(*position) - 1 : next_++;
    if (index >= arguments_.size()) refuse("no such argument");
    used_[index] = true;
    return *arguments_[index];
  }

  // A width or precision: a number in the format, or "*" for the next argument. 0 without either.
  int acceptSize() {
    if (!accept('*')) return acceptNumber();
    const FormatArgument& size = argument(std::nullopt);
    if (const auto* number = std::get_if<unsigned long long>(&size)) {
      if (*number > kMaxFieldWidth) refuse("field too wide");
      return static_cast<int>(*number);
    }
    const long long number = signedInteger(size);
    if (number > kMaxFieldWidth || number < -kMaxFieldWidth) refuse("field too wide");
    return static_cast<int>(number);
  }

  std::optional<int> acceptPosition() {
    const auto digits = rest_.find_first_not_of("0123456789");
    if (digits == 0 || digits == std::string_view::npos || rest_[digits] != '$') return {};
    const int position = acceptNumber();
    take();
    return position;
  }

  // The value of the digits that come next; 0 without digits.
  int acceptNumber() {
    int number = 0;
    const auto [end, error] = std::from_chars(rest_.data(), rest_.data() + rest_.size(), number);
    if (error == std::errc::result_out_of_range || number > kMaxFieldWidth) {
      refuse("number too large");
    }
    if (number < 0) refuse("a sign within");
    rest_.remove_prefix(static_cast<std::size_t>(end - rest_.data()));
    return number;
  }

  bool nextIsOneOf(std::string_view characters) const {
    return !rest_.empty() && characters.find(rest_.front()) != std::string_view::npos;
  }

  bool accept(char character) {
    if (!rest_.starts_with(character)) return false;
    rest_.remove_prefix(1);
    return true;
  }

  char take() {
    if (rest_.empty()) refuse("the format ends in a conversion");
    const char character = rest_.front();
    rest_.remove_prefix(1);
    return character;
  }

  std::string_view rest_;
  std::vector<const FormatArgument*> arguments_;
  std::vector<bool> used_;
  std::size_t next_ = 0;
  std::error_code error_;
};

}  // namespace

std::string escapeControlCharacters(std::string_view text) {
  std::string result;
  result.reserve(text.size());
  while (!text.empty()) {
    const std::size_t length = text[0] == '\t' ? 0 : controlLength(text);
    if (length == 0) result += text[0];
    for (const char c : text.substr(0, length)) {
      result += fmt::format("\\x{:02X}", static_cast<unsigned char>(c));
    }
    text.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::string formatText(std::string_view format, std::span<const FormatArgument> arguments) {
  const int systemError = errno;
  try {
    return Formatter(format, arguments, systemError).format();
  } catch (const fmt::format_error&) {
    std::string result(format);
    for (const auto& argument : arguments) result += " [" + textOf(argument) + "]";
    return result;
  }
}

}  // namespace sourcetype
