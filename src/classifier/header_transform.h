// The columns of a delimited file as configuration: a transform of transforms.conf that extracts
// them, and the links from sourcetypes to transforms.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// Names of stanzas of transforms.conf.
using TransformNames = std::vector<std::string>;

// A delimiter as it is written and shown: a tab as "\t".
std::string delimiterText(char delimiter);

// The values of a transform for these columns. `names` hold no double quote and no line end.
PropertiesMap makeHeaderTransform(char delimiter, const std::vector<std::string>& names);

// The stanzas that have these values and can be linked, whatever else they say.
TransformNames findIdenticalTransforms(const PropertiesMap& transform, ConfStore& store);

// The transforms that a sourcetype's settings name and that are there.
TransformNames linkedTransforms(const PropertiesMap& settings, ConfStore& store);

// Whether a sourcetype of these settings has columns. A transform that names none (an expression of
// its own) does not count.
bool hasColumns(const PropertiesMap& settings, ConfStore& store);

// The settings that link a transform. What the key of the link names already stays.
PropertiesMap linkBeside(const PropertiesMap& settings, const std::string& stanza,
                         ConfStore& store);

// The settings but for links to columns.
PropertiesMap withoutColumns(PropertiesMap settings, ConfStore& store);

}  // namespace sourcetype
