// How the limit of distances follows the number of sourcetypes.
#pragma once

#include "conf/conf_store.h"

namespace sourcetype {

// When props.conf has more than 3000 sourcetypes, sets "maxDist" of its stanza [default] to the
// limit that fits their number: 500, or twice its square root and 100 where that is more. Raises a
// lower limit, which is logged, and lowers a higher one.
void adjustMaxDist(ConfStore& store);

}  // namespace sourcetype
