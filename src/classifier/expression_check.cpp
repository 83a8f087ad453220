#include "classifier/expression_check.h"

#include <array>

#include "classifier/flow_log.h"
#include "classifier/properties.h"
#include "timestamp/time_format.h"
#include "util/regex.h"

namespace sourcetype {
namespace {

void requireUsable(std::string_view key, const std::string& value) {
  const Regex compiles(key == key::kTimeFormat ? timeFormatExpression(value) : value);
}

}  // namespace

void ExpressionCheck::check(const PropertiesMap& settings) {
  constexpr std::array kKeys{key::kBreakOnlyBefore, key::kTimeFormat, key::kTimePrefix};
  for (const auto key : kKeys) {
    const auto value = settings.tryGet(key);
    const std::string stanza(settings.stanzaOf(key));
    if (!value || stanza.empty()) continue;
    try {
      requireUsable(key, *value);
    } catch (const std::runtime_error& error) {
      if (!reported_.emplace(stanza, key).second) continue;
      reportInvalidRegex(kFlowLog, *value, error.what(), stanza, key);
    }
  }
}

}  // namespace sourcetype
