#include "inspect/verbs/settings_verb.h"

#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "classifier/file_classifier.h"
#include "classifier/properties.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"
#include "inspect/session.h"
#include "inspect/setting_sources.h"
#include "inspect/verb.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

struct SettingsOptions {
  std::string name;
  bool all = false;
};

// The effective settings, and the stanzas that they come from, the strongest first.
struct Effective {
  PropertiesMap settings;
  std::vector<std::string> stanzas;
};

Effective lookUp(ConfStore& store, const std::vector<std::string>& names,
                 PatternMatching matching) {
  Effective effective;
  store.getStanzaSettings(store.getProps(), effective.settings, names, matching);
  effective.stanzas = store.applyingStanzas(store.getProps(), names, matching);
  return effective;
}

// The settings of a sourcetype, or, for the path of a file, those of the stanzas that match it.
Effective effectiveSettings(ConfStore& store, const std::string& name) {
  if (store.stanzaExists(store.getProps(), name)) {
    return lookUp(store, {name}, PatternMatching::No);
  }
  const auto path = pathFromText(name);
  if (fileKind(path) == FileKind::CannotExamine) {
    throw InspectError("there is neither a stanza nor a file " + name);
  }
  auto effective = lookUp(store, sourceStanzas(path), PatternMatching::Yes);
  if (const auto sourcetype = effective.settings.tryGet(key::kSourcetype)) {
    effective = lookUp(store, sourceStanzas(path, *sourcetype), PatternMatching::Yes);
  }
  return effective;
}

void printSettings(Session& session, const SettingsOptions& options) {
  MemoryStorage edits;
  ConfStore store(session.etc(), edits);
  const auto effective = effectiveSettings(store, options.name);
  const auto settings = sourcesOf(effective.settings, store, store.getProps(), effective.stanzas);
  if (session.out().isJson()) {
    Output::printJson({{"name", options.name}, {"settings", toJson(settings, options.all)}});
  } else {
    Output::print(toText(settings, options.all, session.out(), 0));
  }
}

}  // namespace

void addSettingsVerb(CLI::App& app, Session& session) {
  Verb verb(app, "settings",
            "The effective settings of a sourcetype or file, each with file and line");
  const auto options = std::make_shared<SettingsOptions>();
  verb.addWord("NAME|FILE", options->name, "A sourcetype, or a file", Verb::Presence::Required);
  verb.addFlag("--all", options->all, "Also what the settings hide");
  verb.onUse([&session, options] { printSettings(session, *options); });
}

}  // namespace sourcetype
