#include "inspect/verbs/evaluate_verb.h"

#include <algorithm>
#include <cstdio>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "inspect/evaluate/evaluation.h"
#include "inspect/evaluate/evaluation_json.h"
#include "inspect/evaluate/evaluation_text.h"
#include "inspect/session.h"
#include "inspect/verb.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

struct Options {
  std::vector<std::string> words;
  bool withoutRules = false;
  EvaluationOptions evaluation;
};

void printEvaluation(const Evaluation& evaluation, const Output& out) {
  if (!out.isJson()) {
    const std::size_t columns = isTerminal(StandardStream::Output)
                                    ? terminalWidth()
                                    : std::numeric_limits<std::size_t>::max();
    return Output::print(evaluationAsText(evaluation, out, columns));
  }
  for (const auto& file : evaluation.files) Output::printJson(fileAsJson(file));
  Output::printJson(summaryAsJson(evaluation));
}

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

// A problem of the input does not end the evaluation of the other files.
void evaluateWords(Session& session, Options options) {
  session.home();  // an error of it is told first
  const auto labelled = readLabelledFiles(options.words);
  for (const auto& problem : labelled.problems) session.fail(problem);
  options.evaluation.withRules = !options.withoutRules;
  const auto evaluation = evaluateFiles(session, labelled.files, options.evaluation);
  for (const auto& file : evaluation.files) {
    if (file.verdict == Verdict::Unusable) session.fail(file.file + ": " + file.problem);
  }
  if (evaluation.counts.right < evaluation.counts.total()) session.raise(Status::Found);
  printEvaluation(evaluation, session.out());
}

}  // namespace

void addEvaluateVerb(CLI::App& app, Session& session) {
  Verb verb(app, "evaluate",
            "How well files are recognised that are not learned, and which are confused");
  const auto options = std::make_shared<Options>();
  verb.addWords("INPUT", options->words,
                "Folders with a sub-folder for each sourcetype, or lists with a file, a tab and a "
                "sourcetype in each line",
                Verb::Presence::Required);
  verb.addNumber("--folds", options->evaluation.folds, {kMinFolds, kMaxFolds}, "K",
                 "Number of groups, 5 if not given; each is classified after the others were "
                 "learned");
  verb.addFlag("--no-rules", options->withoutRules, "Only models decide");
  verb.addFlag("--with-learned", options->evaluation.withLearned,
               "Keep the models that were learned before");
  verb.onUse([&session, options] { evaluateWords(session, *options); });
}

}  // namespace sourcetype
