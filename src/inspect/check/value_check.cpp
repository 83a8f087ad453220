#include "inspect/check/value_check.h"

#include <fmt/core.h>

#include <cstdint>
#include <limits>
#include <span>
#include <vector>

#include "charset/charset_registry.h"
#include "classifier/models/model.h"
#include "classifier/type_name.h"
#include "conf/properties_map.h"
#include "inspect/check/findings.h"
#include "timestamp/time_format.h"
#include "util/format.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype {
namespace {

std::optional<std::string> formatError(std::string_view format) {
  try {
    return expressionError(timeFormatExpression(format));
  } catch (const TimeFormatError& error) {
    return error.what();
  }
}

}  // namespace

bool readsAsNumber(std::string_view value) {
  constexpr auto kOther = std::numeric_limits<std::int64_t>::min();
  const PropertiesMap settings{{"number", value}};
  return settings.getInt("number", 0) == settings.getInt("number", kOther);
}

bool readsAsFlag(std::string_view value) {
  const PropertiesMap settings{{"flag", value}};
  return settings.getBool("flag", false) == settings.getBool("flag", true);
}

std::optional<std::string> expressionError(std::string_view expression) {
  try {
    const Regex compiled(expression);
    return std::nullopt;
  } catch (const RegexException& error) {
    constexpr std::string_view kPrefix = "Regex: ";
    std::string_view reason = error.what();
    if (reason.starts_with(kPrefix)) reason.remove_prefix(kPrefix.size());
    return std::string(reason);
  }
}

std::optional<std::string> valueProblem(ValueKind kind, std::string_view value,
                                        const TimeZones& zones) {
  if (value.empty()) return std::nullopt;
  switch (kind) {
    case ValueKind::Flag:
      if (readsAsFlag(value)) return std::nullopt;
      return quoted(value) + " is neither true nor false; the default is used";
    case ValueKind::Number:
      if (readsAsNumber(value)) return std::nullopt;
      return quoted(value) + " is no whole number; the default is used";
    case ValueKind::Limit:
      if (parseLimit(value)) return std::nullopt;
      return quoted(value) + " is no number above 0; there is no limit";
    case ValueKind::Expression:
      if (const auto error = expressionError(value)) {
        return fmt::format("the expression {} does not compile and is ignored: {}", quoted(value),
                           *error);
      }
      return std::nullopt;
    case ValueKind::TimeFormat:
      if (const auto error = formatError(value)) {
        return fmt::format("{} is ignored: it {}", quoted(value), *error);
      }
      return std::nullopt;
    case ValueKind::Charset:
      if (value == "auto" || findConverter(value) != nullptr) return std::nullopt;
      return quoted(value) + " is no known charset; bytes are used unconverted";
    case ValueKind::Zone:
      if (zones.find(value)) return std::nullopt;
      return quoted(value) + " is no offset and no known zone; UTC is used";
    case ValueKind::Sourcetype:
      if (const auto problem = sourcetypeProblem(value); !problem.empty()) {
        return fmt::format("{} is ignored: {}", quoted(value), problem);
      }
      return std::nullopt;
    case ValueKind::Text:
    case ValueKind::Links:
    case ValueKind::Keywords:
      return std::nullopt;
  }
  return std::nullopt;
}

bool fitsArguments(std::string_view key, std::string_view text) {
  const auto list = key.find("__");
  std::vector<FormatArgument> arguments;
  if (list != std::string_view::npos) {
    for (const auto kind : split(key.substr(list + 2), "_")) {
      if (kind == "S") arguments.emplace_back(std::string_view("text"));
      if (kind == "D") arguments.emplace_back(1LL);
      if (kind == "LU") arguments.emplace_back(1ULL);
    }
  }
  // A text that does not fit is logged unchanged.
  const auto logged = formatText(text, std::span<const FormatArgument>(arguments));
  const bool hasConversion = text.find('%') != std::string_view::npos;
  return !logged.starts_with(text) || (arguments.empty() && !hasConversion);
}

}  // namespace sourcetype
