// The confusion table of an evaluation as HTML, which needs no script.
#pragma once

#include <string>

#include "inspect/evaluate/evaluation.h"

namespace sourcetype {

// A section of the page of a report. The more files of a row are in a cell, the stronger is its
// colour; the styles are in page.css.
std::string heatMap(const Evaluation& evaluation);

}  // namespace sourcetype
