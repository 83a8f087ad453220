#include "conf/environment.h"

#include <cstdlib>
#include <iostream>

#include "conf/message_catalog.h"
#include "platform/environment.h"
#include "platform/path_form.h"
#include "util/log_configuration.h"

namespace sourcetype {
namespace {

constexpr const char* kRootVariable = "TARNEL_HOME";
constexpr int kNoRootStatus = -1;

}  // namespace

void initEnvironment(ConfStore& store, std::map<std::string, std::string>& variables, Quiet quiet,
                     const std::string& loggingConfigurationName) {
  const auto root = environmentPath(kRootVariable);
  if (!root) {
    std::cerr << "TARNEL_HOME must be set.  Stopping.\n";
    std::exit(kNoRootStatus);  // NOLINT(concurrency-mt-unsafe): there is one thread
  }
  variables[kRootVariable] = pathToText(*root);

  const auto configuration = *root / "etc" / loggingConfigurationName;
  if (quiet == Quiet::No) {
    std::cerr << "Using logging configuration at " << pathToText(configuration) << ".\n";
  }
  std::cerr << configureLogging(configuration, variables) << std::flush;
  messageCatalog(store);
}

}  // namespace sourcetype
