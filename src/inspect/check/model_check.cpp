#include "inspect/check/model_check.h"

#include <fmt/core.h>

#include <charconv>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "classifier/models/model.h"
#include "classifier/type_name.h"
#include "conf/stanza_kinds.h"
#include "inspect/check/value_check.h"
#include "util/text.h"

namespace sourcetype {
namespace {

struct ModelStanza {
  std::optional<std::string_view> sourcetype;
  std::size_t line = 0;  // of the header
  std::size_t declared = 0;
  std::size_t settings = 0;  // without maxDist
};

void readSetting(const ConfText& text, const ConfText::Setting& setting, ModelStanza& model,
                 Findings& findings) {
  const auto place = text.at(setting.line);
  if (setting.key == kMaxDistKey) {
    if (const auto problem = valueProblem(ValueKind::Limit, setting.value, TimeZones())) {
      findings.error(place, fmt::format("{}: {}", setting.key, *problem));
    }
    return;
  }
  ++model.settings;
  if (setting.key == kSourcetypeKey) {
    model.sourcetype = setting.value;
  } else if (setting.key == kSizeKey) {
    const auto* const end = setting.value.data() + setting.value.size();
    std::from_chars(setting.value.data(), end, model.declared);
  } else if (setting.key != kSourceKey && !setting.key.starts_with(kShapePrefix) &&
             (setting.value.empty() || !isOneOf(setting.value.front(), "0123456789.+-"))) {
    findings.error(place, fmt::format("{}: the weight {} is no number and counts as 0", setting.key,
                                      quoted(setting.value)));
  }
}

// Empty for a model that is used.
std::string reasonToIgnore(const ModelStanza& model) {
  if (!model.sourcetype || model.sourcetype->empty()) return "it has no _sourcetype";
  if (const auto problem = sourcetypeProblem(*model.sourcetype); !problem.empty()) {
    return fmt::format("its sourcetype {}: {}", quoted(*model.sourcetype), problem);
  }
  return model.settings <= model.declared ? "it has fewer settings than its _size says" : "";
}

}  // namespace

void checkModels(const ConfText& text, Findings& findings) {
  std::map<std::string_view, ModelStanza> models;
  for (const auto& header : text.headers()) {
    auto& model = models[header.stanza];
    if (model.line == 0) model.line = header.line;
  }
  for (const auto& setting : text.settings()) {
    readSetting(text, setting, models[setting.stanza], findings);
  }
  for (const auto& [stanza, model] : models) {
    if (stanza == kDefaultStanza || stanza.starts_with('[') || model.settings == 0) continue;
    if (const auto reason = reasonToIgnore(model); !reason.empty()) {
      findings.error(text.at(model.line),
                     fmt::format("the model [{}] is ignored: {}", stanza, reason));
    }
  }
}

}  // namespace sourcetype
