#include "inspect/verbs/explain_verb.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "inspect/explain/explain_json.h"
#include "inspect/explain/explain_text.h"
#include "inspect/explain/explanation.h"
#include "inspect/session.h"
#include "inspect/verb.h"

namespace sourcetype {
namespace {

bool isRecognised(Stage stage) {
  return stage != Stage::NewSourcetype && stage != Stage::Unrecognised && stage != Stage::Invalid &&
         stage != Stage::TooSmall;
}

void printExplanation(Session& session, const std::string& word, bool isFirst) {
  Explanation evidence;
  const auto explained = explainFile(session.etc(), word, evidence);
  if (!isRecognised(evidence.stage())) session.raise(Status::Found);
  if (session.out().isJson()) {
    return Output::printJson(explainAsJson(explained, session.home()));
  }
  if (!isFirst) Output::print("\n");
  Output::print(explainAsText(explained, session.home(), session.out()));
}

void explainAll(Session& session, const std::vector<std::string>& words) {
  session.home();  // throws once, and not for each file
  bool isFirst = true;
  for (const auto& word : words) {
    try {
      printExplanation(session, word, isFirst);
      isFirst = false;
    } catch (const InspectError& error) {  // the other files are explained
      session.fail(error.what());
    }
  }
}

}  // namespace

void addExplainVerb(CLI::App& app, Session& session) {
  Verb verb(app, "explain", "Why a file has its sourcetype");
  const auto words = std::make_shared<std::vector<std::string>>();
  verb.addWords("FILE", *words, "Log files, or - for standard input", Verb::Presence::Required);
  verb.onUse([&session, words] { explainAll(session, *words); });
}

}  // namespace sourcetype
