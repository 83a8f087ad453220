// The command line of sourcetype-inspect.
#pragma once

#include <span>

#include "platform/entry_point.h"

namespace sourcetype {

// Runs the verb that `arguments` name; the first argument is the program. Returns the exit status.
int runInspect(std::span<const Argument> arguments);

}  // namespace sourcetype
