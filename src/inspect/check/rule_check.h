// Checks rules: each test by itself, and which rules can decide.
#pragma once

#include <map>
#include <string>
#include <string_view>

#include "conf/conf_store.h"
#include "inspect/check/conf_text.h"
#include "inspect/check/findings.h"

namespace sourcetype {

bool isRule(std::string_view stanza);

// Checks one setting of a rule.
void checkRuleSetting(const ConfText& text, const ConfText::Setting& setting, Findings& findings);

// Finds the rules of the whole configuration that are skipped, that never apply, that every file
// passes, and that are never reached, because an earlier rule passes whenever they do. `places` has
// the strongest header of each stanza.
using StanzaPlaces = std::map<std::string, Place, std::less<>>;
void checkRules(ConfStore& store, const StanzaPlaces& places, Findings& findings);

}  // namespace sourcetype
