// An evaluation as JSON: an object for each file, and one for all.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "inspect/evaluate/evaluation.h"

namespace sourcetype {

nlohmann::ordered_json fileAsJson(const EvaluatedFile& file);

nlohmann::ordered_json summaryAsJson(const Evaluation& evaluation);

}  // namespace sourcetype
