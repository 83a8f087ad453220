// Checks sourcetypes.conf: models that are ignored, and values that are not used.
#pragma once

#include "inspect/check/conf_text.h"
#include "inspect/check/findings.h"

namespace sourcetype {

// A stanza that only has a "maxDist" belongs to a model of another layer and is not reported.
void checkModels(const ConfText& text, Findings& findings);

}  // namespace sourcetype
