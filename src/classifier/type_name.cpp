#include "classifier/type_name.h"

#include <algorithm>

#include "conf/stanza_kinds.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kDefaultTypeName = "generic";
constexpr std::size_t kMinNameLength = 3;
constexpr char kControlReplacement = '_';

// Returns false for an extension that only says that the file is a log, or is too short.
bool isSpecific(std::string_view extension) {
  return extension.size() >= kMinNameLength && isAsciiLetter(extension.front()) &&
         !equalsIgnoringCase(extension.substr(0, 3), "txt") &&
         !equalsIgnoringCase(extension.substr(0, 3), "log");
}

std::string_view nameFrom(std::string_view baseName) {
  const auto dot = baseName.rfind('.');
  if (dot != std::string_view::npos && isSpecific(baseName.substr(dot + 1))) {
    return baseName.substr(dot + 1);
  }
  return baseName.substr(0, dot);
}

std::string_view withoutLeadingBlanks(std::string_view name) {
  while (!name.empty() && (name.front() == ' ' || controlLength(name) > 0)) {
    name.remove_prefix(std::max<std::size_t>(controlLength(name), 1));
  }
  return name;
}

std::string withControlsReplaced(std::string_view name) {
  std::string result;
  while (!name.empty()) {
    const std::size_t length = controlLength(name);
    result += length > 0 ? kControlReplacement : name.front();
    name.remove_prefix(std::max<std::size_t>(length, 1));
  }
  return result;
}

std::size_t countNames(Conf& conf, std::string_view prefix, ConfStore& store) {
  return store.countStanzas(conf, prefix, [](std::string_view) { return true; });
}

// Returns the first of "<base>-<number>", from `number` on, that `conf` does not have.
std::string firstFreeName(const std::string& base, std::size_t number, Conf& conf,
                          ConfStore& store) {
  while (true) {
    std::string name = base + "-" + std::to_string(number++);
    if (!store.stanzaExists(conf, name)) return name;
  }
}

}  // namespace

bool isSpecialStanza(std::string_view name) {
  return name.find(kKindSeparator) != std::string_view::npos || name == kDefaultStanza ||
         name == kTooSmallSourcetype;
}

std::string_view sourcetypeProblem(std::string_view name) {
  if (name.empty()) return "it is empty";
  if (trimBlanks(name) != name) return "it begins or ends with a blank";
  for (std::size_t at = 0; at < name.size(); ++at) {
    if (controlLength(name.substr(at)) > 0) return "it holds a control character";
  }
  return {};
}

std::string makeTypeName(std::string_view fileName, PathForm pathForm) {
  std::string_view name = nameFrom(fileName.substr(fileName.rfind(pathForm.separator) + 1));
  name = withoutLeadingBlanks(name);
  while (!name.empty() && !isAsciiLetter(name.back())) name.remove_suffix(1);
  // A name with "::" would be that of a rule or of a pattern of sources, also with a number
  // appended.
  const bool isUsable =
      name.size() >= kMinNameLength && name.find(kKindSeparator) == std::string_view::npos;
  return isUsable ? withControlsReplaced(name) : std::string(kDefaultTypeName);
}

std::string makeNumberedName(const std::string& base, Conf& conf, ConfStore& store) {
  return firstFreeName(base, countNames(conf, base, store) + 1, conf, store);
}

std::string makeUniqueTypeName(std::string_view fileName, ConfStore& store) {
  std::string name = makeTypeName(fileName, store.pathForm());
  Conf& props = store.getProps();
  std::size_t used = countNames(props, name, store);
  if (isSpecialStanza(name)) used = std::max<std::size_t>(used, 1);
  return used == 0 ? name : firstFreeName(name, used + 1, props, store);
}

}  // namespace sourcetype
