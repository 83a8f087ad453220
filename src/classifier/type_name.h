// Names for sourcetypes that nobody has named yet.
#pragma once

#include <string>
#include <string_view>

#include "conf/conf_store.h"
#include "platform/path_form.h"

namespace sourcetype {

// A name made from the file's: its extension when that says something ("access.iis" gives "iis"),
// else its base name, up to the last ASCII letter; "generic" where neither has three characters or
// the name would be that of a special stanza ("rule::x", "default").
std::string makeTypeName(std::string_view fileName, PathForm pathForm);

// The same, with a number behind it when props.conf has stanzas that begin with it: "syslog-3"
// where there are two.
std::string makeUniqueTypeName(std::string_view fileName, ConfStore& store);

}  // namespace sourcetype
