#include "inspect/verbs/learned_verb.h"

#include <fmt/core.h>

#include <algorithm>
#include <cstdio>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <vector>

#include "conf/conf_edit.h"
#include "conf/conf_store.h"
#include "conf/memory_storage.h"
#include "conf/setting_places.h"
#include "inspect/learned/forgetting.h"
#include "inspect/learned/learned_types.h"
#include "inspect/near_names.h"
#include "inspect/session.h"
#include "inspect/setting_sources.h"
#include "inspect/verb.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "platform/terminal.h"

namespace sourcetype {
namespace {

struct LearnedOptions {
  std::string name;                // of show
  std::vector<std::string> names;  // of forget
  bool yes = false;
};

// A tree that is only read: its edits stay in memory.
struct View {
  explicit View(Session& session) : store(session.etc(), edits), learned(store) {}

  MemoryStorage edits;
  ConfStore store;
  LearnedTypes learned;
};

const LearnedType& typeOf(const LearnedTypes& learned, const std::string& name) {
  const auto found = learned.types().find(name);
  if (found != learned.types().end()) return found->second;
  std::vector<std::string> names;
  for (const auto& [known, type] : learned.types()) names.push_back(known);
  const auto nearest = nearestName(name, names);
  throw InspectError("nothing was learned of " + name +
                     (nearest ? "; did you mean " + *nearest + "?" : ""));
}

std::set<std::string> sourcesOf(const LearnedType& type) {
  std::set<std::string> sources;
  for (const auto& model : type.models) sources.insert(model.source);
  return sources;
}

std::string lastTime(const LearnedType& type) {
  std::string last;
  for (const auto& model : type.models) last = std::max(last, model.time);
  return last;
}

std::string dayOf(const std::string& time) {
  constexpr std::size_t kDaySize = 10;
  return time.substr(0, kDaySize);
}

std::string_view stanzaText(const LearnedType& type) {
  return type.isProposed ? "proposed" : type.hasStanza ? "own" : "-";
}

void printRow(const std::string& name, std::size_t width, const std::string& models,
              const std::string& day, std::string_view props, const std::string& sources) {
  Output::print(
      fmt::format("{:<{}}  {:>6}  {:<10}  {:<8}  {}\n", name, width, models, day, props, sources));
}

void list(Session& session) {
  const View view(session);
  const auto& types = view.learned.types();
  std::size_t width = std::string_view("SOURCETYPE").size();
  for (const auto& [name, type] : types) width = std::max(width, harmless(name).size());
  if (!session.out().isJson() && !types.empty()) {
    printRow("SOURCETYPE", width, "MODELS", "LAST DAY", "PROPS", "FILES");
  }
  for (const auto& [name, type] : types) {
    const auto sources = sourcesOf(type);
    if (session.out().isJson()) {
      Output::printJson({{"sourcetype", name},
                         {"models", type.models.size()},
                         {"sources", sources},
                         {"last", lastTime(type)},
                         {"props", type.hasStanza},
                         {"proposed", type.isProposed}});
      continue;
    }
    std::string files;
    for (const auto& source : sources) files += (files.empty() ? "" : ", ") + harmless(source);
    printRow(harmless(name), width, std::to_string(type.models.size()), dayOf(lastTime(type)),
             stanzaText(type), files);
  }
}

// The settings of a stanza of one file, each with its line.
std::vector<SourcedSetting> localSettings(const ConfFile& file, const std::string& stanza) {
  std::vector<SourcedSetting> settings;
  for (const auto& setting : settingsOf(file, stanza)) {
    auto places = findSettings(file.bytes(), file.path(), stanza, setting.key());
    auto& added = settings.emplace_back();
    added.key = setting.key();
    added.value = setting.value();
    added.stanza = stanza;
    added.places.push_back({{std::move(places.back())}, stanza});
  }
  return settings;
}

Json jsonOf(const LearnedModel& model) {
  return {{"stanza", model.stanza},
          {"source", model.source},
          {"time", model.time},
          {"words", model.words},
          {"maxDist", model.maxDist}};
}

void showJson(const std::string& name, const LearnedType& type, const LearnedTypes& learned) {
  Json models = Json::array();
  for (const auto& model : type.models) models.push_back(jsonOf(model));
  Json transforms = Json::object();
  for (const auto& transform : type.transforms) {
    transforms[transform] = toJson(localSettings(learned.transforms(), transform), false);
  }
  Output::printJson({{"sourcetype", name},
                     {"file", pathToText(learned.models().path())},
                     {"models", models},
                     {"settings", toJson(localSettings(learned.props(), name), false)},
                     {"transforms", transforms}});
}

void show(Session& session, const std::string& name) {
  const View view(session);
  const auto& type = typeOf(view.learned, name);
  const auto& out = session.out();
  if (out.isJson()) return showJson(name, type, view.learned);
  Output::print(out.paint(Style::Heading, harmless(name)) + "\n");
  for (const auto& model : type.models) {
    Output::print(fmt::format("  model [{}]\n    learned from {}{}, {} words, maxDist {}\n",
                              harmless(model.stanza), harmless(model.source),
                              model.time.empty() ? "" : " on " + dayOf(model.time), model.words,
                              model.maxDist.empty() ? "-" : harmless(model.maxDist)));
  }
  if (type.hasStanza) {
    Output::print("  settings\n" +
                  toText(localSettings(view.learned.props(), name), false, out, 4));
  }
  for (const auto& transform : type.transforms) {
    Output::print("  columns\n" +
                  toText(localSettings(view.learned.transforms(), transform), false, out, 4));
  }
}

void printStanzas(const std::vector<std::string>& stanzas, const ConfFile& file, bool withSettings,
                  const Output& out) {
  for (const auto& stanza : stanzas) {
    if (out.isJson()) {
      Output::printJson({{"file", pathToText(file.path())}, {"stanza", stanza}});
      continue;
    }
    Output::print(fmt::format("{} [{}]\n", harmless(pathToText(file.path())), harmless(stanza)));
    if (!withSettings) continue;
    for (const auto& setting : settingsOf(file, stanza)) {
      Output::print(
          fmt::format("    {} = {}\n", harmless(setting.key()), harmless(setting.value())));
    }
  }
}

void printPlan(const ForgettingPlan& plan, View& view, const Output& out) {
  if (!out.isJson()) Output::print(out.paint(Style::Heading, "To be removed:") + "\n");
  printStanzas(plan.models, view.learned.models(), false, out);
  printStanzas(plan.transforms, view.learned.transforms(), true, out);
  printStanzas(plan.props, view.learned.props(), true, out);
  if (out.isJson()) return;
  for (const auto& stanza : plan.kept) {
    Output::print(fmt::format("{} [{}] stays: it has no settings that sourcetype proposed\n",
                              harmless(pathToText(view.learned.props().path())), harmless(stanza)));
  }
  if (plan.models.empty()) return;
  const auto copy = view.store.learnedCopy(view.store.getConf("sourcetypes"));
  const bool exists = fileKind(copy) == FileKind::Regular;
  Output::print(fmt::format(
      "{} keeps the models{}; \"learned restore\" adds them again. Stanzas of other files are not "
      "kept.\n",
      harmless(pathToText(copy)), exists ? " and replaces an older copy" : ""));
}

// True if `yes` is set or the user agrees. Without a terminal to ask at, the run fails.
bool isAgreed(Session& session, bool yes, const char* question) {
  if (yes) return true;
  if (!isTerminal(StandardStream::Input)) {
    session.fail("nothing was changed: there is no terminal to ask at; say --yes");
    return false;
  }
  Output::print(fmt::format("{} [y/N] ", question));
  static_cast<void>(std::fflush(stdout));  // a failure shows at the end
  std::string answer;
  std::getline(std::cin, answer);
  if (answer == "y" || answer == "Y" || answer == "yes") return true;
  Output::print("Nothing was changed.\n");
  session.raise(Status::Found);
  return false;
}

void forgetTypes(Session& session, const LearnedOptions& options) {
  View view(session);
  for (const auto& name : options.names) typeOf(view.learned, name);
  const auto plan = planForgetting(options.names, view.learned, view.store);
  printPlan(plan, view, session.out());
  if (!isAgreed(session, options.yes, "Remove?")) return;
  ConfStore store(session.etc());
  forget(plan, store);
}

// Restores in memory, to show the models that would be added, then asks and restores on the disk.
void restore(Session& session, const LearnedOptions& options) {
  View before(session);
  auto& conf = before.store.getConf("sourcetypes");
  const auto copy = pathToText(before.store.learnedCopy(conf));
  if (before.store.restoreLearnedStanzas(conf) == 0) {
    throw InspectError("nothing to restore: " + copy + " has no model that is missing");
  }
  const auto text = before.edits.read(before.store.learnedFile(conf));
  const ConfFile after = parseText(before.store.learnedFile(conf), text.view());
  std::vector<std::string> added;
  for (const auto& stanza : after.stanzas()) {
    if (before.learned.models().find(stanza.name) == nullptr) added.emplace_back(stanza.name);
  }
  const auto& out = session.out();
  if (!out.isJson()) {
    Output::print(out.paint(Style::Heading, "To be added from " + harmless(copy) + ":") + "\n");
  }
  printStanzas(added, after, false, out);
  if (!isAgreed(session, options.yes, "Restore?")) return;
  ConfStore store(session.etc());
  store.restoreLearnedStanzas(store.getConf("sourcetypes"));
}

}  // namespace

void addLearnedVerb(CLI::App& app, Session& session) {
  Verb verb(app, "learned", "What was learned and proposed, and taking it back");
  const auto options = std::make_shared<LearnedOptions>();
  verb.onUse([&session] { list(session); });

  verb.addPart("list", "A row for each sourcetype (the default)").onUse([&session] {
    list(session);
  });

  Verb shown = verb.addPart("show", "The models and settings of a sourcetype");
  shown.addWord("NAME", options->name, "The sourcetype", Verb::Presence::Required);
  shown.onUse([&session, options] { show(session, options->name); });

  Verb forgotten = verb.addPart("forget", "Remove the models and settings of sourcetypes");
  forgotten.addWords("NAME", options->names, "The sourcetypes", Verb::Presence::Required);
  forgotten.addFlag("--yes", options->yes, "Do not ask");
  forgotten.onUse([&session, options] { forgetTypes(session, *options); });

  Verb restored = verb.addPart("restore", "Add the models again that were removed last");
  restored.addFlag("--yes", options->yes, "Do not ask");
  restored.onUse([&session, options] { restore(session, *options); });
}

}  // namespace sourcetype
