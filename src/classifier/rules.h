// Sourcetypes found by the hand-written rules of props.conf.
#pragma once

#include <optional>
#include <string>

#include "classifier/sampling/sample.h"
#include "conf/conf_store.h"

namespace sourcetype {

// "rule::" stanzas are tried before the learned models, "delayedrule::" ones after them.
enum class RuleTiming { BeforeModels, AfterModels };

// The sourcetype of the first rule, in byte order of stanza names, whose tests the sample passes.
// This version reads no rules and finds none.
std::optional<std::string> findRuleSourcetype(const Sample& sample, RuleTiming timing,
                                              ConfStore& store);

}  // namespace sourcetype
