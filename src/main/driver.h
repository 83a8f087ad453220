// The modes of the command line.
#pragma once

#include <span>

#include "conf/conf_store.h"
#include "platform/entry_point.h"

namespace sourcetype {

// Chooses a mode by the number and the text of the arguments, runs it and prints its result on
// standard output. Returns the exit status: 0 for every completed mode, 1 for a bad option of the
// test mode, kRunFailed if a write was given up.
int runDriver(ConfStore& store, std::span<const Argument> arguments);

}  // namespace sourcetype
