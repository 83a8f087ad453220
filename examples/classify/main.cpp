// Prints the sourcetype of each log file that it is given, and learns nothing: the classifier used
// as a library. Needs TARNEL_HOME, as the tool does.

#include <cstdlib>
#include <exception>
#include <iostream>
#include <map>
#include <span>
#include <string>

#include "classifier/file_classifier_manager.h"
#include "classifier/properties.h"
#include "conf/conf_store.h"
#include "conf/environment.h"
#include "conf/properties_map.h"
#include "timestamp/xml_libraries.h"

int main(int count, char** words) try {
  const char* home = std::getenv("TARNEL_HOME");
  sourcetype::ConfStore store(std::filesystem::path(home == nullptr ? "" : home) / "etc");
  // Logging and the texts of messages; ends the process where TARNEL_HOME is missing.
  std::map<std::string, std::string> variables;
  sourcetype::initEnvironment(store, variables, sourcetype::Quiet::Yes);
  const sourcetype::XmlLibraries xmlLibraries;  // for the forms of timestamps

  namespace key = sourcetype::key;
  sourcetype::FileClassifierManager manager(store);
  for (const char* file : std::span(words, static_cast<std::size_t>(count)).subspan(1)) {
    sourcetype::PropertiesMap result;
    manager.findTypeForFile(result, {.path = file, .learningAllowed = false});
    const auto cause = result.tryGet(key::kInvalidCause);
    std::cout << file << '\t' << cause.value_or(result.get(key::kSourcetype)) << '\n';
  }
  return EXIT_SUCCESS;
} catch (const std::exception& error) {
  std::cerr << "classify: " << error.what() << '\n';
  return EXIT_FAILURE;
}
