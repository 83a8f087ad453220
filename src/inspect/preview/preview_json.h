// A preview as JSON; the manual page describes the keys.
#pragma once

#include <nlohmann/json_fwd.hpp>
#include <string>

#include "inspect/output.h"
#include "inspect/preview/preview.h"
#include "inspect/preview/preview_summary.h"

namespace sourcetype {

Json toJson(const PreviewEvent& event);

// {"summary": {...}}. `file` is the name of the log.
Json summaryJson(const Preview& preview, const PreviewSummary& summary, const std::string& file);

}  // namespace sourcetype
