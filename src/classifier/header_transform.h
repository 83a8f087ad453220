// The columns of a delimited file as configuration: a transform that extracts them, and the link to
// it from the file's sourcetype.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// A delimiter as it is written and shown: a tab as "\t".
std::string delimiterText(char delimiter);

// The values of a transform for these columns. `names` hold no double quote and no line end.
PropertiesMap makeHeaderTransform(char delimiter, const std::vector<std::string>& names);

// Sees to it that the sourcetype of `result` extracts its fields with a transform of these values,
// one that transforms.conf has or a new one. A sourcetype that links other columns keeps them: the
// file gets a sourcetype of its own, "<sourcetype>-<number>", or the one that an earlier file with
// these columns got. `result` then holds its name and settings. What cannot be written is logged by
// the store and leaves `result` as it was.
void applyHeaderTransform(std::string_view fileName, const PropertiesMap& transform,
                          PropertiesMap& result, ConfStore& store);

}  // namespace sourcetype
