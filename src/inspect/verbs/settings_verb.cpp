#include "inspect/verbs/settings_verb.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>

#include "classifier/file_classifier.h"
#include "classifier/properties.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"
#include "inspect/session.h"
#include "inspect/setting_sources.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

struct Options {
  std::string name;
  bool all = false;
};

// The settings of a sourcetype, or, for the path of a file, those of the stanzas that match it.
PropertiesMap effectiveSettings(ConfStore& store, const std::string& name) {
  PropertiesMap settings;
  if (store.stanzaExists(store.getProps(), name)) {
    store.getStanzaSettings(store.getProps(), settings, std::span(&name, 1), PatternMatching::No);
    return settings;
  }
  const auto path = pathFromText(name);
  if (fileKind(path) == FileKind::CannotExamine) {
    throw InspectError("there is neither a stanza nor a file " + name);
  }
  store.getStanzaSettings(store.getProps(), settings, sourceStanzas(path), PatternMatching::Yes);
  if (const auto sourcetype = settings.tryGet(key::kSourcetype)) {
    settings = {};
    store.getStanzaSettings(store.getProps(), settings, sourceStanzas(path, *sourcetype),
                            PatternMatching::Yes);
  }
  return settings;
}

void printSettings(Session& session, const Options& options) {
  MemoryStorage edits;
  ConfStore store(session.etc(), edits);
  const auto settings = sourcesOf(effectiveSettings(store, options.name), store, store.getProps());
  if (session.out().isJson()) {
    Output::printJson({{"name", options.name}, {"settings", toJson(settings, options.all)}});
  } else {
    Output::print(toText(settings, options.all, session.out(), 0));
  }
}

}  // namespace

void addSettingsVerb(CLI::App& app, Session& session) {
  auto* verb = app.add_subcommand(
      "settings", "The effective settings of a sourcetype or file, each with file and line");
  const auto options = std::make_shared<Options>();
  verb->add_option("NAME|FILE", options->name, "A sourcetype, or a file")->required();
  verb->add_flag("--all", options->all, "Also what the settings hide");
  verb->callback([&session, options] { printSettings(session, *options); });
}

}  // namespace sourcetype
