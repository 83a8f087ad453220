// The configuration of the server as one: every .conf file of every layer, read when first asked
// for, and written back without harm to what others wrote.
#pragma once

#include <chrono>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "conf/conf_edit.h"
#include "conf/conf_file.h"
#include "conf/conf_index.h"
#include "conf/conf_lookup.h"
#include "conf/conf_writer.h"
#include "conf/learned_stanzas.h"
#include "conf/properties_map.h"
#include "conf/write_locks.h"
#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

// The configuration of one short name ("props" for props.conf) over all layers. Owned by the store.
class Conf {
 public:
  Conf(const std::filesystem::path& root, std::string name, PathForm pathForm, WriteLocks& locks);
  const std::string& name() const { return name_; }

 private:
  friend class ConfStore;

  std::string name_;
  ConfIndex index_;
  ConfLookup lookup_;
  ConfWriter writer_;
  LearnedStanzas learned_;
};

class ConfStore {
 public:
  // A process that holds a lock this long is stopped or stuck: it needs milliseconds.
  static constexpr std::chrono::minutes kMaxLockWait{1};

  // `root` is the configuration tree, $TARNEL_HOME/etc. Reads nothing yet. A write is given up when
  // one process has kept its lock for `maxLockWait`.
  explicit ConfStore(std::filesystem::path root, PathForm pathForm = nativePathForm(),
                     std::chrono::milliseconds maxLockWait = kMaxLockWait);

  const std::filesystem::path& root() const { return root_; }
  PathForm pathForm() const { return pathForm_; }

  // The object lives as long as the store.
  Conf& getConf(std::string_view name);
  Conf& getProps() { return getConf("props"); }
  Conf& getTransforms() { return getConf("transforms"); }
  Conf& getInputs() { return getConf("inputs"); }

  // True when a stanza of that name stands in any layer.
  bool stanzaExists(Conf& conf, std::string_view stanza);

  // Names that begin with `prefix`, each once, in ascending byte order.
  std::vector<std::string> stanzaNames(Conf& conf, std::string_view prefix);
  // How many of these there are that `counts` says yes to.
  std::size_t countStanzas(Conf& conf, std::string_view prefix,
                           bool (*counts)(std::string_view name));

  // The file that a setting's value comes from; empty when no layer has it.
  std::filesystem::path settingFile(Conf& conf, std::string_view stanza, std::string_view key);

  // Adds the settings of the stanza of exactly that name, stronger layers first; keys that `out`
  // has already keep their values, here and below.
  void getExactStanza(Conf& conf, PropertiesMap& out, std::string_view stanza);

  // Calls `visit` with each stanza's name and settings, merged over all layers, in ascending byte
  // order of the names. The settings, in byte order of the keys, live as long as the call.
  using StanzaVisitor = ConfLookup::StanzaVisitor;
  void visitStanzas(Conf& conf, const StanzaVisitor& visit);

  // Adds the effective settings of one or more names. For each name in turn these are the settings
  // of the stanza of that name and, with `matching`, of the pattern stanzas that match it, by
  // falling "priority" (100 for the exact stanza, 0 for a pattern, where it has none) and, among
  // equals, in byte order of the stanza names. "default" fills what is then missing.
  //
  // The expressions of the patterns draw on `budget`, on half of kMaxFileCost at most; those that
  // are left when it is spent do not apply, which is logged.
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                         MatchBudget& budget);
  // The same with a budget of its own, or without patterns.
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                         PatternMatching matching);
  // The same for a list of names with "|" between them.
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::string_view names,
                         PatternMatching matching);

  // Makes `settings` the effective settings of the stanza: writes those that differ (with
  // `overwriteAll`, every one) to the system's local layer and deletes none. The next lookup sees
  // them. False, with the reason logged and the file as it was, when that cannot be done; also when
  // a setting has no form in which it would read back the same.
  bool writeStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                   bool overwriteAll);

  // The same, if `stillHolds` says so while no other process can write. It may look up what it
  // wants in the store, where `conf` is as it is now.
  using Condition = ConfWriter::Condition;
  WriteOutcome writeStanzaIf(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                             bool overwriteAll, const Condition& stillHolds);

  // Writes a stanza that no layer has; Overtaken when one has it.
  WriteOutcome addStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                         bool overwriteAll);

  // Removes the stanza when it is the last one that this object has added, and holds just what was
  // written. A failure is logged.
  void takeBackStanza(Conf& conf, std::string_view stanza);

  // The same as writeStanza() for a learned model: all settings go to the local layer of the app
  // "learned". A stanza that its file does not have yet is appended, in time independent of the
  // file's size; a crash may leave a part of it at the end of the file.
  bool writeLearnedStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings);

  // Removes the stanzas `names` from the file that writeLearnedStanza() writes to, in one step. An
  // empty result deletes the file, or empties it if it is reached by a link. First a copy of the
  // file without the stanzas `added` is written to "<file>.old", replacing an older copy; with a
  // link, beside the file that it leads to. Writes nothing when the file has none of `names`.
  using StanzaNames = sourcetype::StanzaNames;
  using Dropped = LearnedStanzas::Dropped;
  Dropped dropLearnedStanzas(Conf& conf, const StanzaNames& names, const StanzaNames& added);

  // Where writeLearnedStanza() writes.
  std::filesystem::path learnedFile(const Conf& conf) const;

  // Forgets what was read, so that the next lookup reads the files again.
  void reload(Conf& conf);

  // True when a write was given up because another process kept its lock.
  bool hasGivenUp() const { return locks_.hasGivenUp(); }

 private:
  std::filesystem::path localFile(const Conf& conf) const;

  std::filesystem::path root_;
  PathForm pathForm_;
  WriteLocks locks_;
  std::map<std::string, Conf, std::less<>> confs_;

  // One for all configurations: a write sees, and leaves, a settled state. Operations call others.
  std::recursive_mutex mutex_;
};

}  // namespace sourcetype
