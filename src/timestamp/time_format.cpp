#include "timestamp/time_format.h"

#include <array>
#include <set>

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kZone = R"((?:(?:[+-]|−)[0-9]{2}(?::?[0-9]{2})?|Z)(?![0-9]))";
constexpr std::string_view kZoneName =
    R"((?:(?:GMT|UTC)?[+-][0-9]{1,2}(?::?[0-9]{2})?|Etc/GMT[+-][0-9]{1,2}|[A-Z]{3}[0-9][A-Z]{3})"
    R"(|[A-Za-z]+(?:[/_-][A-Za-z]+)*))";

struct Conversion {
  char letter;
  std::string_view group;  // the field that it sets; empty if it sets none
  std::string_view expression;
};
constexpr std::array kConversions{
    Conversion{'Y', "year", "[0-9]{4}"},
    Conversion{'y', "shortyear", "[0-9]{2}"},
    Conversion{'m', "month", "1[0-2]|0[1-9]|[ ]?[1-9]"},
    Conversion{'d', "day", "3[01]|[12][0-9]|0[1-9]|[ ]?[1-9]"},
    Conversion{'e', "day", "3[01]|[12][0-9]|0[1-9]|[ ]?[1-9]"},
    Conversion{'H', "hour", "2[0-3]|[01][0-9]|[ ]?[0-9]"},
    Conversion{'k', "hour", "2[0-3]|[01][0-9]|[ ]?[0-9]"},
    Conversion{'I', "hour", "1[0-2]|0[0-9]|[ ]?[0-9]"},
    Conversion{'l', "hour", "1[0-2]|0[0-9]|[ ]?[0-9]"},
    Conversion{'M', "minute", "[0-5][0-9]|[ ]?[0-9]"},
    Conversion{'S', "second", "[0-5][0-9]|60|[ ]?[0-9]"},
    Conversion{'p', "half", "[AaPp](?:[Mm]|\\.[Mm]\\.)"},
    Conversion{'P', "half", "[AaPp](?:[Mm]|\\.[Mm]\\.)"},
    Conversion{'b', "monthname", "\\pL{3,12}"},
    Conversion{'B', "monthname", "\\pL{3,12}"},
    Conversion{'h', "monthname", "\\pL{3,12}"},
    Conversion{'a', "", "\\pL{2,14}\\.?"},
    Conversion{'A', "", "\\pL{2,14}\\.?"},
    Conversion{'j', "yearday", "[0-9]{1,3}"},
    Conversion{'s', "seconds", "[0-9]{1,11}"},
    Conversion{'z', "zone", kZone},
    Conversion{'Z', "zone", kZoneName},
    Conversion{'C', "", "[0-9]{2}"},
    Conversion{'u', "", "[1-7]"},
    Conversion{'w', "", "[0-6]"},
    Conversion{'U', "", "[0-9]{1,2}"},
    Conversion{'W', "", "[0-9]{1,2}"},
    Conversion{'V', "", "[0-9]{1,2}"},
    Conversion{'n', "", "\\s*"},
    Conversion{'t', "", "\\s*"},
    Conversion{'%', "", "%"},
};

struct Composite {
  char letter;
  std::string_view format;
};
constexpr std::array kComposites{
    Composite{'T', "%H:%M:%S"},
    Composite{'R', "%H:%M"},
    Composite{'D', "%m/%d/%y"},
    Composite{'x', "%m/%d/%y"},
    Composite{'F', "%Y-%m-%d"},
    Composite{'X', "%H:%M:%S"},
    Composite{'r', "%I:%M:%S %p"},
    Composite{'c', "%a %b %e %H:%M:%S %Y"},
    Composite{'+', "%a %b %e %H:%M:%S %Z %Y"},
};

constexpr std::string_view kSubseconds = "NQfL";

template <class List>
auto* entryFor(const List& list, char letter) {
  for (const auto& entry : list) {
    if (entry.letter == letter) return &entry;
  }
  return static_cast<decltype(list.data())>(nullptr);
}

class Translator {
 public:
  std::string translate(std::string_view format) {
    append(format);
    const bool startsWithDigit = result_.starts_with("(?'") && !format.starts_with("%b") &&
                                 !format.starts_with("%B") && !format.starts_with("%h");
    return startsWithDigit ? "(?<![0-9])" + result_ : result_;
  }

 private:
  void append(std::string_view format) {
    while (!format.empty()) {
      const char c = format.front();
      format.remove_prefix(1);
      if (c == '%') {
        appendConversion(format);
      } else if (isAsciiSpace(c)) {
        result_ += "[ \\t]*+";
      } else {
        appendLiteral(c);
      }
    }
  }

  void appendLiteral(char c) {
    if (static_cast<unsigned char>(c) < 0x80 && !isAsciiLetter(c) && !isAsciiDigit(c)) {
      result_ += '\\';
    }
    result_ += c;
  }

  // Consumes the conversion at the start of `format`, whose "%" is already consumed.
  void appendConversion(std::string_view& format) {
    std::string spelling = "%";
    int width = 0;
    while (!format.empty()) {
      const char c = format.front();
      format.remove_prefix(1);
      spelling += c;
      if (isAsciiDigit(c) && width < 10) {
        width = width * 10 + (c - '0');
      } else if (std::string_view("_-^#:EO").find(c) == std::string_view::npos) {
        return appendLetter(c, width, spelling);
      }
    }
    throw TimeFormatError("ends within the conversion \"" + spelling + "\"");
  }

  void appendLetter(char letter, int width, const std::string& spelling) {
    if (const auto* composite = entryFor(kComposites, letter)) return append(composite->format);
    if (kSubseconds.find(letter) != std::string_view::npos) {
      const bool isWidth = width >= 1 && width <= 9;
      return appendGroup(
          "fraction", isWidth ? "[0-9]{" + std::to_string(width) + "}" : std::string("[0-9]{1,9}"));
    }
    const auto* conversion = entryFor(kConversions, letter);
    if (conversion == nullptr)
      throw TimeFormatError("has the unknown conversion \"" + spelling + "\"");
    appendGroup(conversion->group, conversion->expression);
  }

  void appendGroup(std::string_view group, std::string_view expression) {
    const bool isFirst = !group.empty() && groups_.insert(std::string(group)).second;
    result_ += isFirst ? "(?'" + std::string(group) + "'" : "(?:";
    result_ += expression;
    result_ += ')';
  }

  std::string result_;
  std::set<std::string> groups_;
};

}  // namespace

std::string timeFormatExpression(std::string_view format) {
  if (format.size() > kMaxTimeFormatBytes) {
    throw TimeFormatError("is longer than " + std::to_string(kMaxTimeFormatBytes) + " bytes");
  }
  return Translator().translate(format);
}

}  // namespace sourcetype
