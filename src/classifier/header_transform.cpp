#include "classifier/header_transform.h"

#include <algorithm>
#include <span>
#include <string_view>

#include "classifier/properties.h"
#include "conf/stanza_kinds.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kLinkSeparator = ",";

// Returns true when a link to this stanza reads back as its name. A power failure while a stanza is
// appended leaves the name "[name", which is not a complete stanza.
bool canBeLinked(std::string_view stanza) {
  if (stanza.starts_with('[')) return false;
  const TransformNames names = splitLinks(stanza);
  return names.size() == 1 && names.front() == stanza;
}

bool namesColumns(const std::string& stanza, ConfStore& store) {
  PropertiesMap settings;
  store.getExactStanza(store.getTransforms(), settings, stanza);
  return settings.tryGet(key::kFields).has_value();
}

}  // namespace

TransformNames splitLinks(std::string_view value) {
  TransformNames names;
  for (const auto link : split(value, kLinkSeparator)) {
    if (const auto name = trimBlanks(link); !name.empty()) names.emplace_back(name);
  }
  return names;
}

std::string delimiterText(char delimiter) {
  return delimiter == '\t' ? R"(\t)" : std::string(1, delimiter);
}

PropertiesMap makeHeaderTransform(char delimiter, const std::vector<std::string>& names) {
  std::string fields;
  for (const auto& name : names) {
    if (!fields.empty()) fields += ", ";
    fields += inQuotes(name);
  }
  return {{key::kDelims, inQuotes(delimiterText(delimiter))}, {key::kFields, fields}};
}

TransformNames findIdenticalTransforms(const PropertiesMap& transform, ConfStore& store) {
  TransformNames names;
  const auto has = [](std::span<const ConfFile::Setting> settings, const auto& wanted) {
    const auto found =
        std::ranges::lower_bound(settings, wanted.first, {}, &ConfFile::Setting::key);
    return found != settings.end() && found->key() == wanted.first &&
           found->value() == wanted.second.value;
  };
  store.visitStanzas(store.getTransforms(), [&](std::string_view name, auto settings) {
    const bool isIdentical = std::ranges::all_of(
        transform.entries(), [&](const auto& wanted) { return has(settings, wanted); });
    if (isIdentical && name != kDefaultStanza && canBeLinked(name)) names.emplace_back(name);
  });
  return names;
}

TransformNames linkedTransforms(const PropertiesMap& settings, ConfStore& store) {
  TransformNames linked;
  for (const auto& [name, entry] : settings.entries()) {
    if (!name.starts_with(key::kReportPrefix)) continue;
    for (auto& stanza : splitLinks(entry.value)) {
      if (store.stanzaExists(store.getTransforms(), stanza)) linked.push_back(std::move(stanza));
    }
  }
  return linked;
}

bool hasColumns(const PropertiesMap& settings, ConfStore& store) {
  return std::ranges::any_of(linkedTransforms(settings, store),
                             [&](const auto& stanza) { return namesColumns(stanza, store); });
}

PropertiesMap addedLink(const PropertiesMap& settings, const std::string& stanza,
                        ConfStore& store) {
  std::string links;
  for (const auto& link : splitLinks(settings.get(key::kReportHeader))) {
    if (store.stanzaExists(store.getTransforms(), link)) links += link + ", ";
  }
  return {{key::kReportHeader, links + stanza}, {key::kKvMode, "none"}};
}

PropertiesMap withoutColumns(PropertiesMap settings, ConfStore& store) {
  const PropertiesMap all = settings;
  for (const auto& [name, entry] : all.entries()) {
    if (!name.starts_with(key::kReportPrefix)) continue;
    const auto linked = splitLinks(entry.value);
    if (std::ranges::any_of(linked, [&](const auto& link) { return namesColumns(link, store); })) {
      settings.remove(name);
    }
  }
  return settings;
}

}  // namespace sourcetype
