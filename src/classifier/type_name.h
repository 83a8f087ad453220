// Names for sourcetypes that nobody has named yet.
#pragma once

#include <string>
#include <string_view>

#include "conf/conf_store.h"
#include "platform/path_form.h"

namespace sourcetype {

// True for a name whose stanza in props.conf says more than what one sourcetype is like: a rule, a
// pattern of sources, the settings of small files or of all.
bool isSpecialStanza(std::string_view name);

// Why no file can be learned under this sourcetype: "it is empty" and the like. Empty for a
// sourcetype that can be stored and read back.
std::string_view sourcetypeProblem(std::string_view name);

// A name made from the file's: its extension when that says something ("access.iis" gives "iis"),
// else its base name, without leading blanks and up to the last ASCII letter; "generic" where
// neither has three characters, or the name holds "::". A control character becomes "_". The result
// can be the name of a special stanza ("default"); with something added to it, it is not.
std::string makeTypeName(std::string_view fileName, PathForm pathForm);

// "<base>-<number>", a stanza that `conf` does not have. Numbers begin after the number of stanzas
// whose names begin with `base`.
std::string makeNumberedName(const std::string& base, Conf& conf, ConfStore& store);

// The type name, with a number after it when props.conf has stanzas that begin with it: "syslog-3"
// where there are two. Never the name of a special stanza: these count as if props.conf had them.
std::string makeUniqueTypeName(std::string_view fileName, ConfStore& store);

}  // namespace sourcetype
