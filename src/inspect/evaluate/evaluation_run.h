// The evaluation of inputs that a command line names.
#pragma once

#include <span>
#include <string>

#include "inspect/evaluate/evaluation.h"

namespace sourcetype {

class Session;

// Shows the steps on standard error if that is a terminal. Each problem of the inputs is reported
// and makes the run fail. Files that are wrong or not recognised raise its status to Found. Throws
// InspectError as evaluate() and Session::home().
Evaluation evaluateInputs(Session& session, std::span<const std::string> inputs,
                          EvaluationOptions options);

}  // namespace sourcetype
