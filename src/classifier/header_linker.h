// Links the sourcetype of a file to a transform that extracts the columns of the file.
#pragma once

#include <string_view>

#include "conf/conf_store.h"
#include "conf/properties_map.h"

namespace sourcetype {

// A new sourcetype whose stanza is not written yet.
struct NewSourcetype {
  PropertiesMap settings;  // of its stanza
  PropertiesMap input;     // the result before these settings were added
};

// Links a transform to the sourcetype of `result`: a stanza of transforms.conf that has the
// settings `transform`, or else a new one. When the sourcetype already links other columns, or is
// "too_small", it stays as it is, and the file gets another sourcetype: the one that an earlier
// file with these columns got, or a new one named "<sourcetype>-<number>". `result` is then changed
// to the name and settings of that one. A write that fails is logged by the store and leaves
// `result` as it was.
//
// `newSourcetype` is for a new sourcetype in `result`; it is null for one that exists. Its stanza
// is written together with the link. It is not written when an earlier file with these columns got
// a sourcetype of the same type name, which `result` then has. Returns false when a write failed,
// so that the stanza of a new sourcetype is still to be written.
bool applyHeaderTransform(std::string_view fileName, const PropertiesMap& transform,
                          PropertiesMap& result, ConfStore& store,
                          const NewSourcetype* newSourcetype = nullptr);

}  // namespace sourcetype
