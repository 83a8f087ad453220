// Transforms: stanzas of transforms.conf that extract the columns of delimited files. A sourcetype
// links transforms by the settings "REPORT-<any>" of its stanza in props.conf.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// Names of stanzas of transforms.conf.
using TransformNames = std::vector<std::string>;

// Returns a delimiter as it is written and logged: a tab as "\t".
std::string delimiterText(char delimiter);

// Returns the settings of a transform. `names` must not contain double quotes or line ends.
PropertiesMap makeHeaderTransform(char delimiter, const std::vector<std::string>& names);

// Returns the stanzas that have all settings of `transform`, perhaps among others, and whose names
// can be linked.
TransformNames findIdenticalTransforms(const PropertiesMap& transform, ConfStore& store);

// Returns the stanzas that the value of a link names, whether they exist or not.
TransformNames splitLinks(std::string_view value);

// Returns the existing transforms that the settings of a sourcetype link.
TransformNames linkedTransforms(const PropertiesMap& settings, ConfStore& store);

// Returns true when the settings of a sourcetype link a transform that names columns. A transform
// can extract fields by an expression instead.
bool hasColumns(const PropertiesMap& settings, ConfStore& store);

// Returns the settings to add to those of a sourcetype in order to link one more transform.
PropertiesMap addedLink(const PropertiesMap& settings, const std::string& stanza, ConfStore& store);

// Returns the settings without the keys that link a transform that names columns.
PropertiesMap withoutColumns(PropertiesMap settings, ConfStore& store);

}  // namespace sourcetype
