// Expressions among the settings of a sourcetype, which the server will use and this program does
// not: one that does not compile is told here, or nobody learns of it before events are broken.
#pragma once

#include <set>
#include <string>
#include <utility>

#include "conf/properties_map.h"

namespace sourcetype {

class ExpressionCheck {
 public:
  // Logs, at WARN and once for each stanza and key, what of BREAK_ONLY_BEFORE, TIME_PREFIX and
  // TIME_FORMAT came from configuration and is not usable.
  void check(const PropertiesMap& settings);

 private:
  std::set<std::pair<std::string, std::string>> reported_;  // stanza and key
};

}  // namespace sourcetype
