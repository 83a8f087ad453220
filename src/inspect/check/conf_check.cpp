#include "inspect/check/conf_check.h"

#include <fmt/core.h>

#include "conf/stanza_pattern.h"
#include "inspect/check/known_keys.h"
#include "inspect/check/model_check.h"
#include "inspect/check/rule_check.h"
#include "inspect/check/value_check.h"

namespace sourcetype {
namespace {

// The stanza of literals.conf that is this program's; the server has others.
constexpr std::string_view kMessageStanza = "FILE_CLASSIFIER";

void checkStanzaName(const ConfText& text, const ConfText::Header& header, Findings& findings) {
  const auto place = text.at(header.line);
  if (const auto meant = meantStanzaKind(header.stanza)) {
    findings.warn(place,
                  fmt::format("[{}] is the stanza of a sourcetype of that name; did you mean "
                              "{}?",
                              header.stanza, *meant));
  }
  if (const auto expression = expandStanzaPattern(header.stanza)) {
    if (const auto error = expressionError(*expression)) {
      findings.error(place,
                     fmt::format("the pattern [{}] does not compile and applies to nothing: {}",
                                 header.stanza, *error));
    }
  }
}

void checkSetting(const ConfText& text, const ConfText::Setting& setting, std::string_view conf,
                  const TimeZones& zones, Findings& findings) {
  const auto place = text.at(setting.line);
  if (const auto kind = kindOfKey(conf, setting.key)) {
    if (const auto problem = valueProblem(*kind, setting.value, zones)) {
      findings.error(place, fmt::format("{}: {}", setting.key, *problem));
    }
  } else if (const auto meant = meantKey(conf, setting.key)) {
    findings.warn(place, fmt::format("unknown key {}; did you mean {}?", setting.key, *meant));
  } else if (conf == "source-classifier") {
    findings.warn(place, fmt::format("unknown key {}", setting.key));
  }
}

void checkMessage(const ConfText& text, const ConfText::Setting& setting, Findings& findings) {
  if (setting.stanza != kMessageStanza || fitsArguments(setting.key, setting.value)) return;
  findings.error(text.at(setting.line),
                 fmt::format("the conversions of {} do not fit its arguments: the text is logged "
                             "unchanged",
                             setting.key));
}

}  // namespace

void checkConf(const ConfText& text, std::string_view conf, const TimeZones& zones,
               Findings& findings) {
  if (conf == "sourcetypes") return checkModels(text, findings);
  if (conf == "props") {
    for (const auto& header : text.headers()) checkStanzaName(text, header, findings);
  }
  for (const auto& setting : text.settings()) {
    if (conf == "literals") {
      checkMessage(text, setting, findings);
      continue;
    }
    const bool isOfRule = conf == "props" && isRule(setting.stanza);
    if (isOfRule) checkRuleSetting(text, setting, findings);
    if (!isOfRule || setting.key == "sourcetype") {
      checkSetting(text, setting, conf, zones, findings);
    }
  }
}

}  // namespace sourcetype
