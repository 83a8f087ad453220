// Takes back what was learned of sourcetypes: first the plan, then the writes.
//
//   const auto plan = planForgetting(names, learned, store);
//   show(plan);
//   forget(plan, store);
#pragma once

#include <string>
#include <vector>

#include "conf/conf_store.h"
#include "inspect/learned/learned_types.h"

namespace sourcetype {

struct ForgettingPlan {
  std::vector<std::string> models;      // stanzas of the learned file
  std::vector<std::string> transforms;  // stanzas of the transforms.conf of system/local
  std::vector<std::string> props;       // stanzas of the props.conf of system/local
  std::vector<std::string> kept;        // stanzas there that the program did not make
};

// The models of the sourcetypes `names`, their stanzas if the program proposed them, and the
// columns that only these stanzas link. `names` must be keys of learned.types().
ForgettingPlan planForgetting(const std::vector<std::string>& names, const LearnedTypes& learned,
                              ConfStore& store);

// Removes what the plan lists, except `kept`. Throws std::runtime_error for the first part that
// cannot be removed; the parts before it are removed then. A new plan then has the rest.
void forget(const ForgettingPlan& plan, ConfStore& store);

}  // namespace sourcetype
