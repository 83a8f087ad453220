// The evaluation of inputs that a command line names.
#pragma once

#include <span>
#include <string>

#include "inspect/evaluate/evaluation.h"

namespace sourcetype {

class Session;

// Shows the steps on standard error if that is a terminal. Tells each problem of the inputs, which
// makes the run fail; files that are wrong or not recognised raise its status. Throws InspectError as
// evaluate().
Evaluation evaluateInputs(Session& session, std::span<const std::string> inputs,
                          EvaluationOptions options);

}  // namespace sourcetype
