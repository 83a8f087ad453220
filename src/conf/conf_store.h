// The configuration of the server: the .conf files of all layers, seen as one. A file is read at
// the first access. A write changes the lines of its own stanza only.
//
//   ConfStore store(home / "etc");
//   PropertiesMap settings;
//   store.getStanzaSettings(store.getProps(), settings, "syslog", PatternMatching::No);
//   settings.get("TIME_FORMAT");
//   if (!store.writeStanza(store.getProps(), "syslog", {{"CHARSET", "UTF-8"}}, false)) return;
//
// Lookups and writes may be called from several threads.
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
#include <utility>
#include <vector>

#include "conf/conf_edit.h"
#include "conf/conf_index.h"
#include "conf/conf_lookup.h"
#include "conf/conf_storage.h"
#include "conf/conf_writer.h"
#include "conf/learned_stanzas.h"
#include "conf/properties_map.h"
#include "conf/setting_places.h"
#include "conf/write_locks.h"
#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

// One configuration over all layers: all files of one short name ("props" for props.conf). Only
// the store makes these objects, and owns them.
class Conf {
 public:
  Conf(const std::filesystem::path& root, std::string name, PathForm pathForm, WriteLocks& locks,
       ConfStorage& storage);
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
  // A write needs the lock for milliseconds: a process that has had it this long hangs.
  static constexpr std::chrono::minutes kMaxLockWait{1};

  // `root` is the configuration tree, $TARNEL_HOME/etc. The constructor reads nothing. A write
  // fails when one other process has had the lock for `maxLockWait`. `storage` must outlive the
  // store.
  explicit ConfStore(std::filesystem::path root, PathForm pathForm = nativePathForm(),
                     std::chrono::milliseconds maxLockWait = kMaxLockWait,
                     ConfStorage& storage = diskStorage());
  // A store whose edits go to `storage`.
  ConfStore(std::filesystem::path root, ConfStorage& storage)
      : ConfStore(std::move(root), nativePathForm(), kMaxLockWait, storage) {}

  const std::filesystem::path& root() const { return root_; }
  PathForm pathForm() const { return pathForm_; }

  // The configuration of a short name. The object lives as long as the store.
  Conf& getConf(std::string_view name);
  Conf& getProps() { return getConf("props"); }
  Conf& getTransforms() { return getConf("transforms"); }
  Conf& getInputs() { return getConf("inputs"); }

  // True when any layer has a stanza of that name.
  bool stanzaExists(Conf& conf, std::string_view stanza);

  // The names that begin with `prefix`, each once, in ascending byte order.
  std::vector<std::string> stanzaNames(Conf& conf, std::string_view prefix);
  // The number of these names for which `counts` returns true.
  std::size_t countStanzas(Conf& conf, std::string_view prefix,
                           bool (*counts)(std::string_view name));

  // The file that the value of a setting comes from; empty when no layer has the setting.
  std::filesystem::path settingFile(Conf& conf, std::string_view stanza, std::string_view key);

  // All settings of this stanza and key: the strongest layer first, and within a file the one that
  // counts first. So the first of all is the effective one. Reads the files again.
  std::vector<SettingPlace> settingPlaces(Conf& conf, std::string_view stanza,
                                          std::string_view key);

  // Adds the settings of the stanza of exactly that name; the value of the strongest layer counts.
  // A key that `out` already has keeps its value, here and in getStanzaSettings().
  void getExactStanza(Conf& conf, PropertiesMap& out, std::string_view stanza);

  // Calls `visit` once for each stanza name that begins with `prefix`, in ascending byte order, with
  // the settings of that name merged over all layers. The settings are in byte order of their keys and live until
  // `visit` returns.
  using StanzaVisitor = ConfLookup::StanzaVisitor;
  void visitStanzas(Conf& conf, const StanzaVisitor& visit, std::string_view prefix = {});

  // Adds the effective settings of one or more names, the first name first. For each name it adds
  // the settings of the stanza of that name and of the pattern stanzas that match the name. Stanzas
  // with a higher "priority" come first; without this key, the exact stanza has 100 and a pattern
  // 0. Stanzas of equal priority come in byte order of their names. Last come the settings of
  // "default".
  //
  // The expressions of the patterns spend steps of `budget`, at most half of kMaxFileCost. When
  // these steps are spent, the remaining patterns do not apply, and a warning is logged.
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                         MatchBudget& budget);
  // The same with a budget of its own, or without pattern stanzas.
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                         PatternMatching matching);
  // The same for names separated by "|".
  void getStanzaSettings(Conf& conf, PropertiesMap& out, std::string_view names,
                         PatternMatching matching);

  // The stanzas whose settings these functions add, the strongest first.
  std::vector<std::string> applyingStanzas(Conf& conf, std::span<const std::string> names,
                                           PatternMatching matching);

  // Makes `settings` the effective settings of the stanza: writes the settings that differ (with
  // `overwriteAll`, all of them) to the local layer of the system, and deletes none. The next
  // lookup sees them. On failure it logs the reason, leaves the file as it was and returns false. A
  // setting that cannot be written in a form that reads back the same is a failure too.
  bool writeStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                   bool overwriteAll);

  // The same, if `stillHolds` returns true. It is called while no other process can write, after
  // the file was read again if it had changed, and may call the lookups of this store.
  using Condition = ConfWriter::Condition;
  WriteOutcome writeStanzaIf(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                             bool overwriteAll, const Condition& stillHolds);

  // Writes a stanza that no layer has; returns Overtaken when a layer has it.
  WriteOutcome addStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                         bool overwriteAll);

  // Removes the stanza that this object added last, if it still has exactly the settings that were
  // written. Does nothing for any other stanza. A failure is logged.
  void takeBackStanza(Conf& conf, std::string_view stanza);

  // Removes a stanza from the local layer of the system, and keeps all other stanzas and comments.
  // Returns false when that layer does not have it. Throws std::runtime_error when that fails; the
  // file is then as it was.
  bool removeStanza(Conf& conf, std::string_view stanza);

  // As writeStanza(), for a learned model: writes all settings to the local layer of the app
  // "learned". A stanza that the file does not have yet is appended, in time independent of the
  // file's size; a crash may leave a part of the stanza at the end of the file.
  bool writeLearnedStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings);

  // Removes the stanzas `names` from learnedFile() in one step. A file that is empty then is
  // deleted; if a link leads to the file, the file stays and is empty. Before that, the function
  // writes a copy of the file without the stanzas `added` to "<file>.old" and replaces an older
  // copy; if a link leads to the file, the copy is beside the target of the link. Writes nothing
  // when the file has none of `names`.
  using StanzaNames = sourcetype::StanzaNames;
  using Dropped = LearnedStanzas::Dropped;
  Dropped dropLearnedStanzas(Conf& conf, const StanzaNames& names, const StanzaNames& added);

  // Adds the stanzas of that copy which learnedFile() does not have, in one step, and returns their
  // number. The copy stays. Throws std::runtime_error when that fails; the file is then as it was.
  std::size_t restoreLearnedStanzas(Conf& conf);

  // The copy that dropLearnedStanzas() writes.
  std::filesystem::path learnedCopy(const Conf& conf) const;

  // The file that writeLearnedStanza() writes to.
  std::filesystem::path learnedFile(const Conf& conf) const;

  // Frees everything that was read. The next lookup reads the files again.
  void reload(Conf& conf);

  // True when a write has failed because another process did not release the lock.
  bool hasGivenUp() const { return locks_.hasGivenUp(); }

  // The file that writeStanza() writes to.
  std::filesystem::path localFile(const Conf& conf) const;

 private:
  std::filesystem::path root_;
  PathForm pathForm_;
  ConfStorage& storage_;
  WriteLocks locks_;
  std::map<std::string, Conf, std::less<>> confs_;

  // One mutex for all configurations: a write reads one and may depend on another. It is recursive
  // because callbacks of lookups and writes call the store.
  std::recursive_mutex mutex_;
};

}  // namespace sourcetype
