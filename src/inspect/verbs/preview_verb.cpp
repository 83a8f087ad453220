#include "inspect/verbs/preview_verb.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <span>
#include <string>
#include <vector>

#include "classifier/type_name.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"
#include "conf/stanza_kinds.h"
#include "inspect/near_names.h"
#include "inspect/preview/compressed_log.h"
#include "inspect/preview/preview.h"
#include "inspect/preview/preview_json.h"
#include "inspect/preview/preview_summary.h"
#include "inspect/preview/preview_text.h"
#include "inspect/preview/setting_problems.h"
#include "inspect/session.h"
#include "inspect/setting_sources.h"
#include "inspect/verb.h"
#include "platform/path_form.h"
#include "timestamp/datetime_file.h"
#include "util/text.h"

namespace sourcetype {
namespace {

struct PreviewOptions {
  std::string file;
  std::string sourcetype;
  std::vector<std::string> assignments;
  bool save = false;
  std::size_t maxEvents = std::numeric_limits<std::size_t>::max();
};

// The words of --set as settings. Throws InspectError for a value that cannot be used. Warns of a
// key that does not change the preview.
PropertiesMap triedSettings(const std::vector<std::string>& assignments, const TimeZones& zones) {
  PropertiesMap settings;
  for (const auto& assignment : assignments) {
    const auto equals = assignment.find('=');
    if (equals == std::string::npos || equals == 0) {
      throw InspectError("--set " + assignment + ": it is not KEY=VALUE");
    }
    const auto key = assignment.substr(0, equals);
    const auto value = assignment.substr(equals + 1);
    const auto problem = settingProblem(key, value, zones);
    if (!problem.empty()) throw InspectError("--set " + problem);
    const auto known = previewKeys();
    if (std::ranges::find(known, key) == known.end()) {
      const auto nearest = nearestName(key, known);
      Output::complain(key + " does not change the preview" +
                       (nearest ? "; did you mean " + *nearest + "?" : ""));
    }
    settings.set(key, value);
  }
  return settings;
}

std::string unknownSourcetypeMessage(ConfStore& store, const std::string& sourcetype) {
  auto names = store.stanzaNames(store.getProps(), "");
  std::erase_if(names, [](const std::string& name) { return isSpecialStanza(name); });
  const auto nearest = nearestName(sourcetype, names);
  return "there is no stanza " + sourcetype + ", so [" + std::string(kDefaultStanza) + "] applies" +
         (nearest ? "; did you mean " + *nearest + "?" : "");
}

// Throws InspectError for a name that no sourcetype can have.
void checkPreviewedSourcetype(ConfStore& store, const std::string& sourcetype) {
  if (sourcetype.empty()) return;
  const auto problem = sourcetypeProblem(sourcetype);
  if (!problem.empty()) throw InspectError("--as " + sourcetype + ": " + std::string(problem));
  if (!store.stanzaExists(store.getProps(), sourcetype)) {
    Output::complain(unknownSourcetypeMessage(store, sourcetype));
  }
}

void printPreview(const Preview& preview, const PreviewOptions& options, const Output& out) {
  const auto summary = summarise(preview.events);
  const auto shown =
      std::span(preview.events).first(std::min(preview.events.size(), options.maxEvents));
  if (out.isJson()) {
    for (const auto& event : shown) Output::printJson(toJson(event));
    if (!out.isQuiet()) Output::printJson(summaryJson(preview, summary, options.file));
    return;
  }
  Output::print(headText(preview, options.file, out));
  std::size_t number = 0;
  for (const auto& event : shown) Output::print(eventText(event, ++number, out));
  if (!out.isQuiet()) Output::print(summaryText(preview, summary, out));
}

// Writes the tried settings into the stanza of the sourcetype and shows where they are now.
void saveSettings(Session& session, const std::string& sourcetype, const PropertiesMap& tried) {
  ConfStore store(session.etc());
  Conf& props = store.getProps();
  if (!store.writeStanza(props, sourcetype, tried, false)) {
    throw InspectError("the settings cannot be written to " +
                       pathToText(store.root() / "system" / "local" / "props.conf"));
  }
  PropertiesMap saved;
  for (const auto& [key, entry] : tried.entries())
    saved.insertIfAbsent(key, entry.value, sourcetype);
  const auto settings = sourcesOf(saved, store, props);
  if (session.out().isJson()) {
    Output::printJson({{"saved", toJson(settings, false)}});
  } else {
    Output::print("\nsaved\n" + toText(settings, false, session.out(), 2));
  }
}

// Readers of .conf files drop blanks around values.
void checkBlanks(const PropertiesMap& tried) {
  for (const auto& [key, entry] : tried.entries()) {
    if (trimBlanks(entry.value) == entry.value) continue;
    throw InspectError("nothing is saved: " + key +
                       " begins or ends with a blank, which a .conf file does not keep; an "
                       "expression may have [ ] instead");
  }
}

// A sourcetype that only this preview has made has no stanza to write into: its name is settled
// when sourcetype(1) learns the file.
void checkMaySave(Session& session, const PreviewOptions& options, const std::string& sourcetype) {
  if (!options.sourcetype.empty()) return;
  ConfStore store(session.etc());
  if (sourcetype.empty() || !store.stanzaExists(store.getProps(), sourcetype)) {
    throw InspectError("nothing is saved: " + options.file +
                       " has no known sourcetype yet; name one with --as");
  }
}

void runPreview(Session& session, const PreviewOptions& options) {
  if (options.save && options.assignments.empty()) {
    throw InspectError("--save needs settings to save: --set KEY=VALUE");
  }
  MemoryStorage edits;
  ConfStore store(session.etc(), edits);
  const auto formats = readDatetimeFile(session.etc() / "datetime.xml");
  if (formats.forms().empty()) {
    Output::complain(pathToText(session.etc() / "datetime.xml") + " has no forms of timestamps");
  }
  checkPreviewedSourcetype(store, options.sourcetype);
  const bool fromStandardInput = options.file == "-";
  PreviewRequest request{.path = pathFromText(fromStandardInput ? "stdin" : options.file),
                         .sourcetype = options.sourcetype,
                         .tried = triedSettings(options.assignments, formats.zones())};
  if (fromStandardInput) {
    request.bytes = readStandardInput();
  } else if (auto log = readCompressedLog(options.file)) {
    if (!log->error.empty()) session.fail(options.file + ": " + log->error);
    request.path = log->path;
    request.bytes = std::move(log->bytes);
  }
  const auto preview = previewLog(store, formats, request);
  for (const auto& problem : preview.problems) Output::complain(problem);
  if (preview.isBinary) {
    Output::complain(options.file + " is binary");
    return session.raise(Status::Found);
  }
  if (preview.sourcetype.empty()) session.raise(Status::Found);
  printPreview(preview, options, session.out());
  if (!options.save) return;
  checkBlanks(request.tried);
  checkMaySave(session, options, preview.sourcetype);
  saveSettings(session, preview.sourcetype, request.tried);
}

}  // namespace

void addPreviewVerb(CLI::App& app, Session& session) {
  Verb verb(app, "preview", "The events of a log and their times");
  const auto options = std::make_shared<PreviewOptions>();
  verb.addWord("FILE", options->file, "A log, also compressed, or - for standard input",
               Verb::Presence::Required);
  verb.addOption("--as", options->sourcetype, "NAME", "Use the settings of this sourcetype");
  verb.addRepeated("--set", options->assignments, "KEY=VALUE", "Try a setting; may be repeated");
  verb.addFlag("--save", options->save, "Write the tried settings to the sourcetype's stanza");
  verb.addNumber("--max", options->maxEvents, {0, options->maxEvents}, "N",
                 "Print only so many events");
  verb.onUse([&session, options] { runPreview(session, *options); });
}

}  // namespace sourcetype
