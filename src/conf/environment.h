// What the process needs before any mode runs: the installation root, logging, message texts.
#pragma once

#include <map>
#include <string>

namespace sourcetype {

class ConfStore;

enum class Quiet { No, Yes };

// Reads the installation root from the environment, enters it as TARNEL_HOME into `variables`,
// which the logging configuration may refer to, sets up logging from $TARNEL_HOME/etc/NAME and
// loads the message catalog from `store`. Tells on standard error which logging configuration it
// takes, unless quiet, and what is wrong with it in any case. Ends the process with status -1 when
// there is no root.
void initEnvironment(ConfStore& store, std::map<std::string, std::string>& variables,
                     Quiet quiet = Quiet::No,
                     const std::string& loggingConfigurationName = "log-cmdline.cfg");

}  // namespace sourcetype
