// The configuration of the server as one: every .conf file of every layer, read when first asked
// for, and written back without harm to what others wrote.
#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <system_error>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "conf/conf_file.h"
#include "conf/properties_map.h"
#include "conf/stanza_pattern.h"
#include "platform/file_lock.h"
#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

// The configuration of one short name ("props" for props.conf) over all layers. Owned by the store.
class Conf {
 public:
  explicit Conf(std::string name) : name_(std::move(name)) {}
  const std::string& name() const { return name_; }

 private:
  friend class ConfStore;

  // A stanza in one of the files. All of one name stand together, the strongest layer first.
  struct Occurrence {
    const ConfFile::Stanza* stanza;
    const ConfFile* file;
  };

  // The configuration's file in one layer.
  struct Layer {
    std::filesystem::path directory;
    std::unique_ptr<ConfFile> file;               // empty where there is none
    std::deque<std::unique_ptr<ConfFile>> added;  // what was appended since it was read
    std::error_code error;                        // why it has no file
    FileIdentity identity;                        // of what is known
  };

  std::string name_;
  bool loaded_ = false;
  std::vector<Layer> layers_;        // strongest first
  std::vector<Occurrence> stanzas_;  // in ascending byte order of the names

  // The stanza that addStanza() added last, to be taken back.
  struct Addition {
    std::string stanza;
    PropertiesMap settings;
    FileIdentity before;  // of the file
    FileIdentity after;
  };
  std::optional<Addition> addition_;

  // What is known of the learned file, so that a stanza can be added without reading it again.
  struct LearnedFile {
    FileIdentity identity;
    std::unordered_set<std::string> stanzas;
    std::size_t settings = 0;
    bool endsInNewline = true;
  };
  std::optional<LearnedFile> learned_;
  // The pattern stanzas, gathered at the first lookup that needs them.
  std::optional<std::vector<const StanzaPattern*>> patterns_;
};

enum class PatternMatching { No, Yes };

// What became of a write that was decided on by what other stanzas say. Overtaken: another process
// has written meanwhile, so that nothing was written now; the configuration is read anew.
enum class WriteOutcome { Written, Failed, Overtaken };

class ConfStore {
 public:
  // A process that holds a lock this long is stopped or stuck: it needs milliseconds.
  static constexpr std::chrono::minutes kPatience{1};

  // `root` is the configuration tree, $TARNEL_HOME/etc. Reads nothing yet. A write is given up when
  // one process has kept its lock for `patience`.
  explicit ConfStore(std::filesystem::path root, PathForm pathForm = nativePathForm(),
                     std::chrono::milliseconds patience = kPatience);

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
  using StanzaVisitor =
      std::function<void(std::string_view name, std::span<const ConfFile::Setting> settings)>;
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
  using Condition = std::function<bool()>;
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
  using StanzaNames = std::unordered_set<std::string>;
  struct Dropped {
    std::size_t stanzas = 0;
    std::filesystem::path copy;  // "<file>.old"; empty where nothing was written
    std::error_code error;       // set: no stanza was dropped, and the reason is logged
  };
  Dropped dropLearnedStanzas(Conf& conf, const StanzaNames& names, const StanzaNames& added);

  // Where writeLearnedStanza() writes.
  std::filesystem::path learnedFile(const Conf& conf) const;

  // Forgets what was read, so that the next lookup reads the files again.
  void reload(Conf& conf);

  // True when a write was given up because another process kept its lock.
  bool hasGivenUp() const { return hasGivenUp_; }

 private:
  struct Candidate;

  void load(Conf& conf);
  void loadFile(const Conf& conf, Conf::Layer& layer, Report report);
  void refresh(Conf& conf, Conf::Layer& layer);
  void indexStanzas(Conf& conf);
  static std::filesystem::path fileOf(const Conf& conf, const Conf::Layer& layer);
  static Conf::Layer& layerOf(Conf& conf, const std::filesystem::path& directory);
  std::span<const Conf::Occurrence> occurrences(Conf& conf, std::string_view stanza);
  const std::vector<const StanzaPattern*>& patterns(Conf& conf);
  const StanzaPattern* findPattern(std::string_view stanza);
  // `budget`: for the pattern stanzas; null when these do not count.
  void addSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                   MatchBudget* budget);
  std::vector<Candidate> candidates(Conf& conf, const std::string& name, MatchBudget* budget);
  std::vector<const StanzaPattern*> matchingPatterns(Conf& conf, const std::string& name,
                                                     MatchBudget& budget);
  std::int64_t priority(Conf& conf, std::string_view stanza, std::int64_t fallback);
  PropertiesMap existingSettings(Conf& conf, std::string_view stanza);
  void learnOfFile(Conf& conf, const std::filesystem::path& path);
  bool appendLearned(Conf& conf, const std::filesystem::path& path, std::string_view stanza,
                     const PropertiesMap& settings, const FileLock& lock);
  WriteOutcome write(Conf& conf, const std::filesystem::path& directory, std::string_view stanza,
                     const PropertiesMap& settings, bool overwriteAll, const Condition& stillHolds);
  void edit(Conf& conf, Conf::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
            const FileLock& lock);
  bool append(Conf& conf, Conf::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
              const FileLock& lock);
  void replace(Conf& conf, Conf::Layer& layer, std::unique_ptr<ConfFile> file,
               const FileLock& lock);
  FileLock lockOf(const std::filesystem::path& target);
  template <class Action>
  auto underLock(const std::filesystem::path& target, const Action& action);

  std::filesystem::path root_;
  PathForm pathForm_;
  std::map<std::string, Conf, std::less<>> confs_;

  // For the life of the process: each name is converted, and compiled, at most once.
  std::mutex patternMutex_;
  std::unordered_map<std::string, StanzaPattern> patternCache_;
  std::unordered_set<const StanzaPattern*> reportedPatterns_;  // invalid or costly ones

  // One for all configurations: a write sees, and leaves, a settled state. Operations call others.
  std::recursive_mutex mutex_;

  const std::chrono::milliseconds patience_;
  bool hasGivenUp_ = false;
  bool hasJustGivenUp_ = false;  // since the last lock
};

}  // namespace sourcetype
