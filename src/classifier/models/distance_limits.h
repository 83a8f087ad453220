// The limit of distances in props.conf follows the number of sourcetypes.
#pragma once

#include "conf/conf_store.h"

namespace sourcetype {

// When props.conf has more than 3000 sourcetypes, sets "maxDist" of its stanza "default" to twice
// the square root of their number plus 100, at least to 500. This can raise the limit, which is
// logged, or lower it.
void adjustMaxDist(ConfStore& store);

}  // namespace sourcetype
