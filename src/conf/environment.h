// Prepares the process: installation root, logging, message texts.
#pragma once

#include <map>
#include <string>

namespace sourcetype {

class ConfStore;

enum class Quiet { No, Yes };

// Reads the installation root from the environment and sets it as TARNEL_HOME in `variables`, which
// the logging configuration may use. Then configures logging from $TARNEL_HOME/etc/NAME and loads
// the message catalog from `store`. Writes to standard error the path of the logging configuration,
// unless quiet, and always its faults. Ends the process with status -1 if there is no root.
void initEnvironment(ConfStore& store, std::map<std::string, std::string>& variables,
                     Quiet quiet = Quiet::No,
                     const std::string& loggingConfigurationName = "log-cmdline.cfg");

}  // namespace sourcetype
