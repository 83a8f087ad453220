// The help that a run without arguments prints.
#pragma once

#include <string_view>

namespace sourcetype {

// Prints the usage text for the name by which the program was invoked; gives the exit status of a
// run whose options were refused, 1.
int printUsage(std::string_view programName);

}  // namespace sourcetype
