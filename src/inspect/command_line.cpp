#include "inspect/command_line.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "inspect/near_names.h"
#include "inspect/session.h"
#include "inspect/verbs/check_verb.h"
#include "inspect/verbs/evaluate_verb.h"
#include "inspect/verbs/explain_verb.h"
#include "inspect/verbs/learned_verb.h"
#include "inspect/verbs/plan_verb.h"
#include "inspect/verbs/preview_verb.h"
#include "inspect/verbs/report_verb.h"
#include "inspect/verbs/scan_verb.h"
#include "inspect/verbs/settings_verb.h"
#include "inspect/version.h"

namespace sourcetype {
namespace {

void addCommonOptions(CLI::App& app, Session& session) {
  auto& options = session.options();
  app.set_version_flag("--version", "sourcetype-inspect " + std::string(kVersion));
  app.add_option("--home", options.home, "The server's root, instead of TARNEL_HOME")
      ->option_text("DIR");
  app.add_flag("--json", options.output.json, "Print JSON, one object a line");
  app.add_option("--color", options.output.color, "When to use colours: auto, always or never")
      ->transform(CLI::CheckedTransformer(std::map<std::string, Color>{
          {"auto", Color::Auto}, {"always", Color::Always}, {"never", Color::Never}}))
      ->option_text("WHEN");
  app.add_flag("--quiet", options.output.quiet, "No progress and no summaries");
}

void addVerbs(CLI::App& app, Session& session) {
  addCheckVerb(app, session);
  addEvaluateVerb(app, session);
  addExplainVerb(app, session);
  addLearnedVerb(app, session);
  addPlanVerb(app, session);
  addPreviewVerb(app, session);
  addReportVerb(app, session);
  addScanVerb(app, session);
  addSettingsVerb(app, session);
}

// The verb that the command line names, or the part of it; `app` itself if there is none.
const CLI::App& lastNamed(const CLI::App& app) {
  const auto named = app.get_subcommands();
  return named.empty() ? app : lastNamed(*named.back());
}

std::vector<std::string> optionsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const auto* option : app.get_options()) {
    for (const auto& name : option->get_lnames()) names.push_back("--" + name);
  }
  for (const auto* named : app.get_subcommands())
    std::ranges::move(optionsOf(*named), std::back_inserter(names));
  return names;
}

std::vector<std::string> partsOf(const CLI::App& app) {
  std::vector<std::string> names;
  for (const auto* part : app.get_subcommands({})) names.push_back(part->get_name());
  return names;
}

std::string unknownWordMessage(const std::string& word, const CLI::App& app) {
  const bool isOption = word.starts_with('-');
  const auto& named = lastNamed(app);
  std::string message = (isOption         ? "unknown option "
                         : &named == &app ? "unknown verb "
                                          : "unexpected word ") +
                        word;
  const auto name = isOption ? word.substr(0, word.find('=')) : word;
  if (const auto nearest = nearestName(name, isOption ? optionsOf(app) : partsOf(named))) {
    if (isOption && *nearest == name) return "option " + name + " belongs after its verb";
    message += "; did you mean " + *nearest + "?";
  }
  return message;
}

// Returns 0 after help or the version, and Status::Failed after an error.
int endWith(const CLI::ParseError& error, const CLI::App& app) {
  if (error.get_exit_code() == static_cast<int>(CLI::ExitCodes::Success)) return app.exit(error);
  const auto unknown = app.remaining(true);
  Output::complain(unknown.empty() ? error.what() : unknownWordMessage(unknown.front(), app));
  Output::complain("see sourcetype-inspect --help");
  return static_cast<int>(Status::Failed);
}

}  // namespace

int runInspect(std::span<const Argument> arguments) {
  CLI::App app(
      "Shows why a log file has its sourcetype, what would be written, and what settings do.",
      "sourcetype-inspect");
  Session session;
  addCommonOptions(app, session);
  addVerbs(app, session);
  app.require_subcommand(1);
  for (auto* verb : app.get_subcommands({})) verb->fallthrough();
  std::vector<std::string> words;
  for (std::size_t i = arguments.size(); i-- > 1;) words.push_back(arguments[i].text);  // reversed
  try {
    app.parse(std::move(words));
  } catch (const CLI::ParseError& error) {
    return endWith(error, app);
  } catch (const InspectError& error) {
    session.fail(error.what());
  }
  return static_cast<int>(session.status());
}

}  // namespace sourcetype
