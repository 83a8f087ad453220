#include "inspect/verbs/evaluate_verb.h"

#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "inspect/evaluate/evaluation.h"
#include "inspect/evaluate/evaluation_json.h"
#include "inspect/evaluate/evaluation_run.h"
#include "inspect/evaluate/evaluation_text.h"
#include "inspect/session.h"
#include "inspect/verb.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

struct EvaluateOptions {
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

}  // namespace

void addEvaluateVerb(CLI::App& app, Session& session) {
  Verb verb(app, "evaluate",
            "How well files are recognised that are not learned, and which are confused");
  const auto options = std::make_shared<EvaluateOptions>();
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
  verb.onUse([&session, options] {
    options->evaluation.withRules = !options->withoutRules;
    printEvaluation(evaluateInputs(session, options->words, options->evaluation), session.out());
  });
}

}  // namespace sourcetype
