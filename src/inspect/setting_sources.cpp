#include "inspect/setting_sources.h"

#include <fmt/core.h>

#include <algorithm>
#include <iterator>
#include <nlohmann/json.hpp>
#include <utility>

#include "platform/path_form.h"

namespace sourcetype {
namespace {

Json toJson(const StanzaSetting& place) {
  return {{"value", place.value},
          {"stanza", place.stanza},
          {"file", pathToText(place.file)},
          {"line", place.line}};
}

std::string placeText(const StanzaSetting& place) {
  return fmt::format("[{}] {}:{}", harmless(place.stanza), harmless(pathToText(place.file)),
                     place.line);
}

void addPlaces(SourcedSetting& setting, const std::string& stanza, ConfStore& store, Conf& conf) {
  for (auto& place : store.settingPlaces(conf, stanza, setting.key)) {
    setting.places.push_back({{std::move(place)}, stanza});
  }
}

std::span<const StanzaSetting> hiddenOf(const SourcedSetting& setting) {
  return std::span(setting.places).subspan(setting.places.empty() ? 0 : 1);
}

}  // namespace

std::vector<SourcedSetting> sourcesOf(const PropertiesMap& settings, ConfStore& store, Conf& conf,
                                      std::span<const std::string> stanzas) {
  std::vector<SourcedSetting> sourced;
  for (const auto& [key, entry] : settings.entries()) {
    auto& added = sourced.emplace_back();
    added.key = key;
    added.value = entry.value;
    added.stanza = entry.stanza;
    if (entry.stanza.empty()) continue;
    addPlaces(added, entry.stanza, store, conf);
    const auto own = std::ranges::find(stanzas, entry.stanza);
    if (own == stanzas.end()) continue;
    for (const auto& weaker : std::span(std::next(own), stanzas.end())) {
      addPlaces(added, weaker, store, conf);
    }
  }
  return sourced;
}

Json toJson(const std::vector<SourcedSetting>& settings, bool all) {
  Json object = Json::object();
  for (const auto& setting : settings) {
    Json& entry = object[setting.key] = {{"value", setting.value}};
    if (setting.places.empty()) continue;
    entry["stanza"] = setting.stanza;
    entry["file"] = pathToText(setting.places.front().file);
    entry["line"] = setting.places.front().line;
    if (!all) continue;
    entry["hides"] = Json::array();
    for (const auto& hidden : hiddenOf(setting)) entry["hides"].push_back(toJson(hidden));
  }
  return object;
}

std::string toText(const std::vector<SourcedSetting>& settings, bool all, const Output& out,
                   std::size_t indent) {
  std::string text;
  for (const auto& setting : settings) {
    text += fmt::format("{:{}}{} = {}", "", indent, harmless(setting.key), harmless(setting.value));
    if (setting.places.empty()) {
      text += "   " + out.paint(Style::Dim, "(from the file)");
    } else {
      text += "   " + out.paint(Style::Dim, placeText(setting.places.front()));
    }
    text += '\n';
    if (!all) continue;
    for (const auto& hidden : hiddenOf(setting)) {
      const auto line = fmt::format("{:{}}hides {}   {}", "", indent + 4, harmless(hidden.value),
                                    placeText(hidden));
      text += out.paint(Style::Dim, line) + '\n';
    }
  }
  return text;
}

}  // namespace sourcetype
