// The help that a run without arguments prints.
#pragma once

#include <string_view>

namespace sourcetype {

// Prints the usage text with the name by which the program was invoked. Returns the exit status of
// a run with wrong options, 1.
int printUsage(std::string_view programName);

}  // namespace sourcetype
