// The option -j of verbs that examine files in parallel.
#pragma once

#include <cstddef>

#include "inspect/verb.h"

namespace sourcetype {

// Adds "-j N" to a verb. Sets `threads` to the number of cores, which N replaces.
void addThreadOption(Verb& verb, std::size_t& threads);

}  // namespace sourcetype
