// Start, run and stop.

#include <cerrno>
#include <cstdio>
#include <exception>
#include <string>
#include <system_error>

#include "inspect/command_line.h"
#include "inspect/output.h"
#include "platform/entry_point.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype {

int programMain(std::span<const Argument> arguments) try {
  const XmlLibraries xmlLibraries;
  const int status = runInspect(arguments);
  if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "stdout");
  return status;
} catch (const std::exception& error) {
  Output::complain(error.what());
  return kRunFailed;
}

}  // namespace sourcetype
