#include "inspect/preview/setting_problems.h"

#include <fmt/core.h>

#include <array>
#include <stdexcept>

#include "charset/charset_registry.h"
#include "classifier/properties.h"
#include "inspect/check/value_check.h"
#include "timestamp/time_format.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

enum class Kind { Expression, TimeFormat, Flag, Number, Zone, Charset };

struct KnownKey {
  std::string_view name;
  Kind kind;
};

constexpr std::array kKeys{
    KnownKey{key::kBreakOnlyBefore, Kind::Expression},
    KnownKey{key::kCharset, Kind::Charset},
    KnownKey{"MAX_DAYS_AGO", Kind::Number},
    KnownKey{"MAX_DAYS_HENCE", Kind::Number},
    KnownKey{"MAX_DIFF_SECS_AGO", Kind::Number},
    KnownKey{"MAX_DIFF_SECS_HENCE", Kind::Number},
    KnownKey{key::kMaxTimestampLookahead, Kind::Number},
    KnownKey{key::kNoBinaryCheck, Kind::Flag},
    KnownKey{key::kShouldLinemerge, Kind::Flag},
    KnownKey{key::kTimeFormat, Kind::TimeFormat},
    KnownKey{key::kTimePrefix, Kind::Expression},
    KnownKey{"TRUNCATE", Kind::Number},
    KnownKey{"TZ", Kind::Zone},
};

std::string expressionProblem(const std::string& value, bool isTimeFormat) try {
  const Regex compiled(isTimeFormat ? timeFormatExpression(value) : value);
  return {};
} catch (const std::runtime_error& error) {
  return error.what();
}

std::string problemOf(Kind kind, const std::string& value, const TimeZones& zones) {
  switch (kind) {
    case Kind::Expression:
    case Kind::TimeFormat:
      return expressionProblem(value, kind == Kind::TimeFormat);
    case Kind::Flag:
      return readsAsFlag(value) ? "" : "it is neither true nor false";
    case Kind::Number:
      return readsAsNumber(value) ? "" : "it is not a whole number";
    case Kind::Zone:
      return zones.find(value) ? "" : "it is no offset and no known zone";
    case Kind::Charset:
      return value == "auto" || findConverter(value) ? "" : "the charset is unknown";
  }
  return {};
}

}  // namespace

std::vector<std::string> previewKeys() {
  std::vector<std::string> names;
  names.reserve(kKeys.size());
  for (const auto& known : kKeys) names.emplace_back(known.name);
  return names;
}

std::string settingProblem(std::string_view key, const std::string& value, const TimeZones& zones) {
  if (value.empty()) return {};
  for (const auto& known : kKeys) {
    if (known.name != key) continue;
    const auto problem = problemOf(known.kind, value, zones);
    return problem.empty() ? "" : fmt::format("{} = {}: {}", key, value, problem);
  }
  return {};
}

}  // namespace sourcetype
