#include "classifier/type_name.h"

#include "classifier/properties.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kDefaultTypeName = "generic";
constexpr std::size_t kShortestName = 3;

// Extensions that say no more than that the file is a log.
bool isTelling(std::string_view extension) {
  return extension.size() >= kShortestName && isAsciiLetter(extension.front()) &&
         !equalsIgnoringCase(extension.substr(0, 3), "txt") &&
         !equalsIgnoringCase(extension.substr(0, 3), "log");
}

std::string_view nameFrom(std::string_view baseName) {
  const auto dot = baseName.rfind('.');
  if (dot != std::string_view::npos && isTelling(baseName.substr(dot + 1))) {
    return baseName.substr(dot + 1);
  }
  return baseName.substr(0, dot);
}

}  // namespace

bool isSpecialStanza(std::string_view name) {
  return name.find("::") != std::string_view::npos || name == kDefaultStanza ||
         name == kTooSmallSourcetype;
}

std::string makeTypeName(std::string_view fileName, PathForm pathForm) {
  std::string_view name = nameFrom(fileName.substr(fileName.rfind(pathForm.separator) + 1));
  while (!name.empty() && !isAsciiLetter(name.back())) name.remove_suffix(1);
  // With any of these the name of a file could become a rule, or settings for other files.
  const bool isUsable = name.size() >= kShortestName && !isSpecialStanza(name);
  return std::string(isUsable ? name : kDefaultTypeName);
}

std::string makeNumberedName(const std::string& base, Conf& conf, ConfStore& store) {
  std::size_t number = store.stanzaNames(conf, base).size();
  std::string name;
  do {
    name = base + "-" + std::to_string(++number);
  } while (store.stanzaExists(conf, name));
  return name;
}

std::string makeUniqueTypeName(std::string_view fileName, ConfStore& store) {
  std::string name = makeTypeName(fileName, store.pathForm());
  if (store.stanzaNames(store.getProps(), name).empty()) return name;
  return makeNumberedName(name, store.getProps(), store);
}

}  // namespace sourcetype
