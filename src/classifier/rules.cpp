#include "classifier/rules.h"

namespace sourcetype {

std::optional<std::string> findRuleSourcetype(const Sample& /*sample*/, RuleTiming /*timing*/,
                                              ConfStore& /*store*/) {
  return std::nullopt;
}

}  // namespace sourcetype
