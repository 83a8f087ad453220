// Makes names for new sourcetypes.
#pragma once

#include <string>
#include <string_view>

#include "conf/conf_store.h"
#include "platform/path_form.h"

namespace sourcetype {

// Returns true for a name whose stanza in props.conf does not describe one sourcetype: a rule, a
// pattern of sources ("source::..."), "too_small" or "default".
bool isSpecialStanza(std::string_view name);

// Returns why a sourcetype cannot be stored and read back, for a message: "it is empty" or the
// like. Returns an empty text when it can.
std::string_view sourcetypeProblem(std::string_view name);

// Returns a type name made from a file name: the extension if it says more than that the file is a
// log ("access.iis" gives "iis"), else the base name. Leading blanks and control characters are
// removed, as is everything after the last ASCII letter; other control characters become "_".
// Returns "generic" if fewer than three characters are left, or if the name contains "::". The
// result can be the name of a special stanza ("default"); the result with a number appended cannot.
std::string makeTypeName(std::string_view fileName, PathForm pathForm);

// Returns "<base>-<number>", a stanza that `conf` does not have. The first number to be tried is
// one more than the number of stanzas whose names begin with `base`.
std::string makeNumberedName(const std::string& base, Conf& conf, ConfStore& store);

// Returns the type name of the file. If props.conf has stanzas whose names begin with it, appends a
// number: "syslog-3" if there are two. Never returns the name of a special stanza: these count as
// if props.conf had them.
std::string makeUniqueTypeName(std::string_view fileName, ConfStore& store);

}  // namespace sourcetype
