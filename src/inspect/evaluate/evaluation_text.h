// An evaluation as text.
#pragma once

#include <cstddef>
#include <string>

#include "inspect/evaluate/evaluation.h"
#include "inspect/output.h"

namespace sourcetype {

// The confusion table is left out if it is wider than `columns`; the pairs of sourcetypes that were
// confused are there in any case.
std::string evaluationAsText(const Evaluation& evaluation, const Output& out, std::size_t columns);

}  // namespace sourcetype
