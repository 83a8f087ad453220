#include "inspect/verbs/plan_verb.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "inspect/changes.h"
#include "inspect/line_diff.h"
#include "inspect/session.h"
#include "inspect/trial_run.h"
#include "inspect/verb.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

struct PlanOptions {
  std::string file;
  std::string name;
};

// The names in the head of a diff. A tab ends a name that has blanks.
std::string headOf(const FileChange& change, const std::string& name) {
  const std::string end = name.find(' ') == std::string::npos ? "\n" : "\t\n";
  return "--- " + (change.existed ? "a/" + name : "/dev/null") + end + "+++ " +
         (change.exists ? "b/" + name : "/dev/null") + end;
}

// Prints harmless lines on a terminal, and otherwise the exact bytes, so that they can be applied.
void printDiff(const std::string& diff, const Output& out) {
  if (!isTerminal(StandardStream::Output)) return Output::print(diff);
  std::string_view rest = diff;
  while (!rest.empty()) {
    const auto line = rest.substr(0, rest.find('\n'));
    const std::string text = harmless(line);
    const bool isAdded = line.starts_with('+');
    const bool isRemoved = line.starts_with('-');
    Output::print((isAdded     ? out.paint(Style::Good, text)
                   : isRemoved ? out.paint(Style::Bad, text)
                               : text) +
                  "\n");
    rest.remove_prefix(std::min(line.size() + 1, rest.size()));
  }
}

// What `sourcetype FILE [NAME]` does, in memory.
void runTool(TrialRun& run, const PlanOptions& options) {
  InputWord input = resolveInput(options.file);
  if (!options.name.empty()) return run.manager().learnFile(input.path, options.name);
  PropertiesMap result;
  run.manager().findTypeForFile(result, {.path = input.path, .sampleText = std::move(input.text)});
}

void printPlan(Session& session, const PlanOptions& options) {
  if (options.file == "-" && !options.name.empty()) {
    throw InspectError("standard input cannot be learned: the tool learns files");
  }
  const auto home = session.home();
  TrialRun run(session.etc());
  runTool(run, options);
  Json files = Json::array();
  for (const auto& change : changesOf(run.edits())) {
    session.raise(Status::Found);
    const auto name = nameBelow(home, change);
    const auto lines = diffLines(change.before, change.after);
    const auto diff = headOf(change, name) + unifiedHunks(lines);
    if (!session.out().isJson()) printDiff(diff, session.out());
    const auto [added, removed] = countChanges(lines);
    files.push_back({{"file", name}, {"added", added}, {"removed", removed}, {"diff", diff}});
  }
  if (session.out().isJson()) Output::printJson({{"file", options.file}, {"would_write", files}});
}

}  // namespace

void addPlanVerb(CLI::App& app, Session& session) {
  Verb verb(app, "plan", "What sourcetype FILE [NAME] would change below etc, as a unified diff");
  const auto options = std::make_shared<PlanOptions>();
  verb.addWord("FILE", options->file, "A log file, or - for standard input",
               Verb::Presence::Required);
  verb.addWord("NAME", options->name, "The sourcetype to learn the file as",
               Verb::Presence::Optional);
  verb.onUse([&session, options] { printPlan(session, *options); });
}

}  // namespace sourcetype
