// The link from a file's sourcetype to the transform that extracts the file's columns.
#pragma once

#include <string_view>

#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// A new sourcetype whose stanza is not written yet.
struct NewSourcetype {
  PropertiesMap settings;  // of its stanza
  PropertiesMap input;     // the result without them
};

// Links a transform of these values, one that transforms.conf has or a new one, to the sourcetype
// of `result`. A sourcetype that links other columns keeps them: the file gets its own sourcetype,
// "<sourcetype>-<number>", or the one that an earlier file with these columns got. `result` then
// holds its name and settings. What cannot be written is logged by the store and leaves `result` as
// it was.
//
// `made` is given when the sourcetype of `result` is new. Its stanza is written together with the
// link, or not at all when an earlier file with these columns has a sourcetype of the same type
// name. False when its stanza is still to be written.
bool applyHeaderTransform(std::string_view fileName, const PropertiesMap& transform,
                          PropertiesMap& result, ConfStore& store,
                          const NewSourcetype* made = nullptr);

}  // namespace sourcetype
