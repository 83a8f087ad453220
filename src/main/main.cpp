// Start, run and stop.

#include <cerrno>
#include <cstdio>
#include <exception>
#include <map>
#include <string>
#include <system_error>

#include "conf/conf_store.h"
#include "conf/environment.h"
#include "main/driver.h"
#include "platform/entry_point.h"
#include "platform/environment.h"
#include "timestamp/xml_libraries.h"

namespace sourcetype {

int programMain(std::span<const Argument> arguments) try {
  const auto home = environmentPath("TARNEL_HOME");
  ConfStore store(home ? *home / "etc" : std::filesystem::path());
  std::map<std::string, std::string> variables;
  initEnvironment(store, variables);
  const XmlLibraries xmlLibraries;
  const int status = runDriver(store, arguments);
  if (std::fflush(stdout) != 0) throw std::system_error(errno, std::generic_category(), "stdout");
  return status;
} catch (const std::exception& error) {
  // Its result does not matter, since it does not throw.
  static_cast<void>(std::fprintf(stderr, "sourcetype: %s\n", error.what()));
  return kRunFailed;
}

}  // namespace sourcetype
