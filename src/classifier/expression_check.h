// Checks the expressions among the settings of a sourcetype. The server uses them and this program
// mostly does not, so it reports those that do not compile before the server breaks events by them.
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
