// The settings of a result, each with the file and line that it comes from.
#pragma once

#include <cstddef>
#include <span>
#include <string>
#include <vector>

#include "conf/conf_store.h"
#include "conf/properties_map.h"
#include "inspect/output.h"

namespace sourcetype {

struct StanzaSetting : SettingPlace {
  std::string stanza;
};

struct SourcedSetting {
  std::string key;
  std::string value;
  std::string stanza;                 // empty for a setting that no stanza has
  std::vector<StanzaSetting> places;  // the effective one first, then those that it hides
};

// The settings in byte order of their keys. Reads the files that they come from. A setting hides
// those of the same stanza in weaker layers; with `stanzas`, the result of
// ConfStore::applyingStanzas(), also those of the stanzas after its own.
std::vector<SourcedSetting> sourcesOf(const PropertiesMap& settings, ConfStore& store, Conf& conf,
                                      std::span<const std::string> stanzas = {});

// {KEY: {"value", "stanza", "file", "line", "hides": [{"value", "stanza", "file", "line"}]}}. A
// setting that no stanza has only has "value". "hides" is missing unless `all` is set.
Json toJson(const std::vector<SourcedSetting>& settings, bool all);

// A line for each setting, indented by `indent` blanks, with its file and line; with `all` a line
// for each value that it hides.
std::string toText(const std::vector<SourcedSetting>& settings, bool all, const Output& out,
                   std::size_t indent);

}  // namespace sourcetype
