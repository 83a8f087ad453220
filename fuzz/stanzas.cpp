#include "stanzas.h"

#include <algorithm>

#include "conf/conf_store.h"
#include "support.h"

namespace sourcetype::fuzzing {

Stanzas stanzasOf(const char* name) {
  ConfStore store(tree().root());
  Stanzas stanzas;
  store.visitStanzas(store.getConf(name), [&](std::string_view stanza, auto settings) {
    auto& map = stanzas[std::string(stanza)];
    for (const auto& setting : settings) map.set(setting.key(), setting.value());
  });
  return stanzas;
}

Stanzas stanzasIn(std::string_view text) {
  const ConfFile file("text", fileBytes(text), Report::No);
  Stanzas stanzas;
  for (const auto& [name, settings] : file.stanzas()) {
    auto& map = stanzas[std::string(name)];
    for (const auto& setting : settings) map.set(setting.key(), setting.value());
  }
  return stanzas;
}

std::vector<std::string> addedStanzas(const Stanzas& before, const Stanzas& after,
                                      std::initializer_list<std::string_view> changingKeys) {
  for (const auto& [name, settings] : before) {
    const auto found = after.find(name);
    require(found != after.end(), "no stanza is lost");
    for (const auto& [key, entry] : settings.entries()) {
      const bool mayChange = std::ranges::find(changingKeys, key) != changingKeys.end();
      require(mayChange || found->second.get(key) == entry.value, "no setting is lost or changed");
    }
  }
  std::vector<std::string> added;
  for (const auto& [name, settings] : after) {
    if (!before.contains(name)) added.push_back(name);
  }
  return added;
}

}  // namespace sourcetype::fuzzing
