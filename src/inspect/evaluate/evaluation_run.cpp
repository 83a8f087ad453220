#include "inspect/evaluate/evaluation_run.h"

#include <algorithm>
#include <cstdio>
#include <vector>

#include "inspect/session.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

// One line on the terminal, which each step writes again. An empty step erases it.
void showStep(const std::string& step) {
  constexpr unsigned kMaxWidth = 50;
  const int width = static_cast<int>(std::clamp(terminalWidth(), 2U, kMaxWidth)) - 1;
  // Nothing can be told if standard error cannot be written to.
  static_cast<void>(std::fprintf(stderr, "\r%*s\r%.*s", width, "", width, step.c_str()));
  static_cast<void>(std::fflush(stderr));
}

Evaluation evaluateFiles(Session& session, const std::vector<LabelledFile>& files,
                         EvaluationOptions options) {
  const bool showsSteps = !session.out().isQuiet() && isTerminal(StandardStream::Error);
  if (!showsSteps) return evaluate(session.etc(), files, options);
  options.onStep = showStep;
  auto evaluation = evaluate(session.etc(), files, options);
  showStep("");
  return evaluation;
}

}  // namespace

Evaluation evaluateInputs(Session& session, std::span<const std::string> inputs,
                          EvaluationOptions options) {
  session.home();  // throws before problems of the inputs are reported
  const auto labelled = readLabelledFiles(inputs);
  for (const auto& problem : labelled.problems) session.fail(problem);
  auto evaluation = evaluateFiles(session, labelled.files, std::move(options));
  for (const auto& file : evaluation.files) {
    if (file.verdict == Verdict::Unusable) session.fail(file.file + ": " + file.problem);
  }
  if (evaluation.counts.right < evaluation.counts.total()) session.raise(Status::Found);
  return evaluation;
}

}  // namespace sourcetype
