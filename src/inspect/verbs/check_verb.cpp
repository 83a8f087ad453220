#include "inspect/verbs/check_verb.h"

#include <fmt/core.h>

#include <algorithm>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "conf/conf_file.h"
#include "inspect/check/conf_check.h"
#include "inspect/check/conf_text.h"
#include "inspect/check/findings.h"
#include "inspect/check/tree_check.h"
#include "inspect/session.h"
#include "inspect/verb.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "timestamp/datetime_file.h"

namespace sourcetype {
namespace {

// The zones that datetime.xml adds are known only if there is a server.
TimeZones zonesOf(const Session& session) {
  try {
    return readDatetimeFile(session.etc() / "datetime.xml").zones();
  } catch (const InspectError&) {
    return {};
  }
}

// The name without ".conf"; empty for a file of another name.
std::string confOf(const std::filesystem::path& path) {
  return path.extension() == ".conf" ? pathToText(path.stem()) : std::string();
}

std::size_t checkFiles(const std::vector<std::string>& names, Session& session,
                       Findings& findings) {
  const TimeZones zones = zonesOf(session);
  std::size_t files = 0;
  for (const auto& name : names) {
    const auto path = pathFromText(name);
    FileBytes bytes = readFile(path, ConfFile::kMaxBytes);
    if (bytes.error) {
      session.fail(name + ": " + bytes.error.message());
      continue;
    }
    ++files;
    const ConfText text(path, std::move(bytes), findings);
    checkConf(text, confOf(path), zones, findings);
  }
  return files;
}

void print(const Finding& finding, const Output& out) {
  if (out.isJson()) {
    return Output::printJson({{"file", pathToText(finding.place.file)},
                              {"line", finding.place.line},
                              {"level", levelName(finding.level)},
                              {"message", finding.message}});
  }
  const auto style = finding.level == Level::Error ? Style::Bad : Style::Mark;
  Output::print(fmt::format(
      "{}: {} {}\n", out.paint(Style::Heading, harmless(placeText(finding.place))),
      out.paint(style, fmt::format("{}:", levelName(finding.level))), harmless(finding.message)));
}

void printSummary(const std::vector<Finding>& found, std::size_t files, const Output& out) {
  if (out.isJson() || out.isQuiet()) return;
  const auto errors = static_cast<std::size_t>(std::ranges::count(
      found, Level::Error, [](const Finding& finding) { return finding.level; }));
  Output::print(out.paint(Style::Dim, fmt::format("files: {}, errors: {}, warnings: {}", files,
                                                  errors, found.size() - errors)) +
                "\n");
}

void checkFiles(Session& session, const std::vector<std::string>& names) {
  Findings findings;
  const auto files = names.empty()
                         ? checkTree(session.etc(), findings,
                                     [&](const std::string& problem) { session.fail(problem); })
                         : checkFiles(names, session, findings);
  const auto found = findings.sorted();
  for (const auto& finding : found) print(finding, session.out());
  printSummary(found, files, session.out());
  if (!found.empty()) session.raise(Status::Found);
}

}  // namespace

void addCheckVerb(CLI::App& app, Session& session) {
  Verb verb(app, "check", "Mistakes in the configuration, with file and line");
  const auto names = std::make_shared<std::vector<std::string>>();
  verb.addWords("FILE.conf", *names, "Check these files only, each by itself",
                Verb::Presence::Optional);
  verb.onUse([&session, names] { checkFiles(session, *names); });
}

}  // namespace sourcetype
