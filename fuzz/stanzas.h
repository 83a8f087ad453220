// The content of the configuration of tree(), to compare it before and after a write.
#pragma once

#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"

namespace sourcetype::fuzzing {

using Stanzas = std::map<std::string, PropertiesMap>;

// The stanzas of all layers of NAME.conf.
Stanzas stanzasOf(const char* name);

// The stanzas of the text of one file.
Stanzas stanzasIn(std::string_view text);

// The stanzas that only `after` has. Requires all others to be as they were, but for the keys that
// may change.
std::vector<std::string> addedStanzas(const Stanzas& before, const Stanzas& after,
                                      std::initializer_list<std::string_view> changingKeys);

}  // namespace sourcetype::fuzzing
