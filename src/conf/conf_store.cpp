#include "conf/conf_store.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <stdexcept>
#include <tuple>
#include <utility>

#include "conf/ini_file.h"
#include "conf/layers.h"
#include "platform/file_writing.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr LogCategory kStoreLog{"ConfObjectManagerDB"};
constexpr LogCategory kLookupLog{"PropertiesMapConfig"};

constexpr std::int64_t kExactPriority = 100;
constexpr std::int64_t kPatternPriority = 0;

// Once a run has given up, every further write would wait as long again.
constexpr std::chrono::milliseconds kPatienceAfterwards{1000};

// Steps that one lookup may spend on patterns: the first lookup of a file leaves as much to the
// second one, which asks for the same name again, and to the rules.
constexpr std::uint64_t kMaxLookupCost = kMaxFileCost / 2;

// The lock file of a file in the tree at `root`. A root that is not there was mistyped: nothing is
// made below it.
std::filesystem::path lockFileBelow(const std::filesystem::path& root,
                                    const std::filesystem::path& target) {
  if (!isDirectory(root)) {
    throw std::runtime_error("there is no directory " + pathToText(root));
  }
  return writeTarget(target) += ".lock";
}

// Said of a file that exceeds the limits of ConfFile, or would.
constexpr const char* kTooLarge = "it holds more settings or stanzas than are read of a file";

FileBytes copyOf(std::string_view text) {
  FileBytes copy{.bytes = std::make_unique_for_overwrite<char[]>(text.size()),  // NOLINT
                 .size = text.size(),
                 .error = {}};
  std::ranges::copy(text, copy.bytes.get());
  return copy;
}

std::vector<std::string> splitNames(std::string_view names) {
  std::vector<std::string> result;
  while (true) {
    const auto end = names.find('|');
    result.emplace_back(names.substr(0, end));
    if (end == std::string_view::npos) return result;
    names.remove_prefix(end + 1);
  }
}

std::string joinNames(std::span<const std::string> names) {
  std::string result;
  for (const auto& name : names) result += name + "|";
  if (!result.empty()) result.pop_back();
  return result;
}

bool sameSettings(const ConfFile::Stanza& a, const ConfFile::Stanza& b) {
  return std::ranges::equal(a.settings, b.settings, [](const auto& x, const auto& y) {
    return x.key() == y.key() && x.value() == y.value();
  });
}

PropertiesMap settingsOf(const ConfFile::Stanza& stanza) {
  PropertiesMap settings;
  for (const auto& setting : stanza.settings) settings.set(setting.key(), setting.value());
  return settings;
}

// Whether what is written behind the text begins a line of its own.
bool endsWithWholeLine(std::string_view text) {
  if (!text.ends_with('\n')) return false;
  const auto last = text.find_last_not_of("\r\n");
  return last != std::string_view::npos && text[last] != '\\';
}

// True when `after` is `before` with `changes` in one stanza and nothing else new, lost or changed,
// and would be read as what it is.
bool isExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                 const PropertiesMap& changes) {
  if (findEncodingError(after.bytes())) return false;
  PropertiesMap expected = changes;
  if (before.find(stanza) != nullptr) {
    for (const auto& old : before.find(stanza)->settings) {
      expected.insertIfAbsent(old.key(), old.value(), {});
    }
  }
  const auto* edited = after.find(stanza);
  if (edited == nullptr || settingsOf(*edited) != expected) return false;

  const auto isOther = [&](const auto& other) { return other.name != stanza; };
  std::vector<ConfFile::Stanza> othersBefore;
  std::vector<ConfFile::Stanza> othersAfter;
  std::ranges::copy_if(before.stanzas(), std::back_inserter(othersBefore), isOther);
  std::ranges::copy_if(after.stanzas(), std::back_inserter(othersAfter), isOther);
  return std::ranges::equal(othersBefore, othersAfter, [](const auto& a, const auto& b) {
    return a.name == b.name && sameSettings(a, b);
  });
}

// The text of a file of learned stanzas in two forms: without those that were added lately, and
// without those that are dropped.
struct Split {
  std::string before;
  std::string kept;
  ConfStore::StanzaNames dropped;
};

Split splitStanzas(std::string_view bytes, const std::filesystem::path& path,
                   const ConfStore::StanzaNames& names, const ConfStore::StanzaNames& added) {
  Split split;
  bool isOld = true;
  bool isKept = true;
  TextKeeper keeper;
  LogicalLineReader reader(bytes, path, keeper, Report::No);
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) {
      const std::string name(line.name);
      isOld = !added.contains(name);
      isKept = !names.contains(name);
      if (!isKept) split.dropped.insert(name);
    }
    if (isOld) split.before += line.raw;
    if (isKept) split.kept += line.raw;
  }
  return split;
}

void logSaving(const std::string& target, bool overwriteAll, const PropertiesMap& existing,
               const PropertiesMap& desired) {
  if (!kStoreLog.isEnabled(LogLevel::Debug)) return;
  logDebug(kStoreLog, "writing with overwriteAll == %s: %s", overwriteAll ? "true" : "false",
           target);
  logDebug(kStoreLog, "Saving settings: %s\nExisting:\n%sDesired:\n%sDiff:\n%s", target,
           MultiLineText{existing.toString()}, MultiLineText{desired.toString()},
           MultiLineText{PropertiesMap::diff(desired, existing).toString()});
}

void logSaved(const std::filesystem::path& target) {
  if (!kStoreLog.isEnabled(LogLevel::Debug)) return;
  logDebug(kStoreLog, "Saved settings: %s %s", pathToText(target), pathToText(writeTarget(target)));
}

}  // namespace

// A stanza that applies to a name.
struct ConfStore::Candidate {
  std::int64_t priority;
  bool isPattern;
  std::string_view stanza;
};

ConfStore::ConfStore(std::filesystem::path root, PathForm pathForm,
                     std::chrono::milliseconds patience)
    : root_(std::move(root)), pathForm_(pathForm), patience_(patience) {}

Conf& ConfStore::getConf(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  return confs_.try_emplace(std::string(name), std::string(name)).first->second;
}

void ConfStore::reload(Conf& conf) {
  const std::scoped_lock lock(mutex_);
  conf.loaded_ = false;
  conf.patterns_.reset();
  conf.stanzas_.clear();
  conf.layers_.clear();
}

// --- Locking ---

// The right to write to a file, which no other process has meanwhile.
FileLock ConfStore::lockOf(const std::filesystem::path& target) {
  const auto lockPath = lockFileBelow(root_, target);
  const bool isShort = std::exchange(hasJustGivenUp_, false);
  try {
    return {lockPath, isShort ? std::min(patience_, kPatienceAfterwards) : patience_};
  } catch (const std::system_error& error) {
    hasJustGivenUp_ = error.code() == std::errc::timed_out;
    hasGivenUp_ = hasGivenUp_ || hasJustGivenUp_;
    throw;
  }
}

// Runs an action that decides and writes. Where the lock was lost before anything was written, it
// decides again.
template <class Action>
auto ConfStore::underLock(const std::filesystem::path& target, const Action& action) {
  while (true) {
    const FileLock lock = lockOf(target);
    removeLeftovers(target);
    try {
      return action(lock);
    } catch (const LockLost& loss) {
      logWarn(kStoreLog, "Writing %s again: %s", pathToText(target), loss.what());
    }
  }
}

// --- Reading ---

std::filesystem::path ConfStore::fileOf(const Conf& conf, const Conf::Layer& layer) {
  return layer.directory / (conf.name() + ".conf");
}

Conf::Layer& ConfStore::layerOf(Conf& conf, const std::filesystem::path& directory) {
  return *std::ranges::find(conf.layers_, directory, &Conf::Layer::directory);
}

void ConfStore::load(Conf& conf) {
  if (conf.loaded_) return;
  conf.layers_.clear();
  for (auto& directory : layerDirectories(root_)) {
    auto& layer = conf.layers_.emplace_back();
    layer.directory = std::move(directory);
    loadFile(conf, layer, Report::Yes);
  }
  indexStanzas(conf);
  conf.loaded_ = true;
}

void ConfStore::loadFile(const Conf& conf, Conf::Layer& layer, Report report) {
  const auto path = fileOf(conf, layer);
  layer.identity = fileIdentity(path);
  layer.added.clear();
  layer.file.reset();  // first, so that memory holds one of the two
  FileBytes bytes = readConfFile(path);
  const auto error = layer.error = bytes.error;
  if (!error) {
    layer.file = std::make_unique<ConfFile>(path, std::move(bytes), report);
  } else if (isEncodingError(error)) {
    if (report == Report::Yes) logError(kStoreLog, "Cannot use %s: %m", pathToText(path), error);
  } else if (!isMissingFile(error)) {
    logWarn(kStoreLog, "Failed to open: %s: %m", pathToText(path), error);
  }
}

// Reads the file of a layer again if somebody else has written to it, or it could not be read.
void ConfStore::refresh(Conf& conf, Conf::Layer& layer) {
  const bool isKnown = !layer.error || isMissingFile(layer.error);
  if (isKnown && fileIdentity(fileOf(conf, layer)) == layer.identity) return;
  loadFile(conf, layer, Report::No);
  indexStanzas(conf);
}

void ConfStore::indexStanzas(Conf& conf) {
  conf.stanzas_.clear();
  conf.patterns_.reset();
  const auto add = [&](const ConfFile& file) {
    for (const auto& stanza : file.stanzas()) conf.stanzas_.push_back({&stanza, &file});
  };
  for (const auto& layer : conf.layers_) {
    if (layer.file != nullptr) add(*layer.file);
    for (const auto& added : layer.added) add(*added);
  }
  std::ranges::stable_sort(conf.stanzas_, {}, [](const auto& found) { return found.stanza->name; });
}

std::span<const Conf::Occurrence> ConfStore::occurrences(Conf& conf, std::string_view stanza) {
  load(conf);
  const auto nameOf = [](const auto& occurrence) { return occurrence.stanza->name; };
  return {std::ranges::lower_bound(conf.stanzas_, stanza, {}, nameOf),
          std::ranges::upper_bound(conf.stanzas_, stanza, {}, nameOf)};
}

bool ConfStore::stanzaExists(Conf& conf, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  return !occurrences(conf, stanza).empty();
}

std::vector<std::string> ConfStore::stanzaNames(Conf& conf, std::string_view prefix) {
  const std::scoped_lock lock(mutex_);
  load(conf);
  std::vector<std::string> names;
  auto found = std::ranges::lower_bound(
      conf.stanzas_, prefix, {}, [](const auto& occurrence) { return occurrence.stanza->name; });
  for (; found != conf.stanzas_.end() && found->stanza->name.starts_with(prefix); ++found) {
    if (names.empty() || names.back() != found->stanza->name) {
      names.emplace_back(found->stanza->name);
    }
  }
  return names;
}

std::size_t ConfStore::countStanzas(Conf& conf, std::string_view prefix,
                                    bool (*counts)(std::string_view name)) {
  const std::scoped_lock lock(mutex_);
  load(conf);
  std::size_t count = 0;
  std::optional<std::string_view> previous;
  auto found = std::ranges::lower_bound(
      conf.stanzas_, prefix, {}, [](const auto& occurrence) { return occurrence.stanza->name; });
  for (; found != conf.stanzas_.end() && found->stanza->name.starts_with(prefix); ++found) {
    if (found->stanza->name != previous && counts(found->stanza->name)) ++count;
    previous = found->stanza->name;
  }
  return count;
}

std::filesystem::path ConfStore::settingFile(Conf& conf, std::string_view stanza,
                                             std::string_view key) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [found, file] : occurrences(conf, stanza)) {
    if (found->find(key) != nullptr) return file->path();
  }
  return {};
}

void ConfStore::getExactStanza(Conf& conf, PropertiesMap& out, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [found, file] : occurrences(conf, stanza)) {
    for (const auto& setting : found->settings) {
      out.insertIfAbsent(setting.key(), setting.value(), stanza);
    }
  }
}

void ConfStore::visitStanzas(Conf& conf, const StanzaVisitor& visit) {
  const std::scoped_lock lock(mutex_);
  load(conf);
  std::vector<ConfFile::Setting> merged;
  for (auto first = conf.stanzas_.begin(); first != conf.stanzas_.end();) {
    const auto name = first->stanza->name;
    const auto last = std::find_if(first, conf.stanzas_.end(),
                                   [&](const auto& found) { return found.stanza->name != name; });
    if (last - first == 1) {
      visit(name, first->stanza->settings);
    } else {
      merged.clear();
      for (auto layer = first; layer != last; ++layer) {
        merged.insert(merged.end(), layer->stanza->settings.begin(), layer->stanza->settings.end());
      }
      // The strongest layer's setting stands first among equals.
      std::ranges::stable_sort(merged, {}, &ConfFile::Setting::key);
      const auto isSameKey = [](const auto& a, const auto& b) { return a.key() == b.key(); };
      merged.erase(std::unique(merged.begin(), merged.end(), isSameKey), merged.end());
      visit(name, merged);
    }
    first = last;
  }
}

// --- Lookup by name and pattern ---

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out, std::string_view names,
                                  PatternMatching matching) {
  getStanzaSettings(conf, out, splitNames(names), matching);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out,
                                  std::span<const std::string> names, PatternMatching matching) {
  MatchBudget budget(kMaxLookupCost);
  addSettings(conf, out, names, matching == PatternMatching::Yes ? &budget : nullptr);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out,
                                  std::span<const std::string> names, MatchBudget& budget) {
  const std::uint64_t allowed = std::min(budget.left(), kMaxLookupCost);
  MatchBudget share(allowed);
  addSettings(conf, out, names, &share);
  budget.spend(allowed - share.left());
}

void ConfStore::addSettings(Conf& conf, PropertiesMap& out, std::span<const std::string> names,
                            MatchBudget* budget) {
  const std::scoped_lock lock(mutex_);
  if (budget != nullptr && kLookupLog.isEnabled(LogLevel::Debug)) {
    logDebug(kLookupLog, "Performing pattern matching for: %s", joinNames(names));
  }
  for (const auto& name : names) {
    for (const auto& [priority, isPattern, stanza] : candidates(conf, name, budget)) {
      if (isPattern && kLookupLog.isEnabled(LogLevel::Debug)) {
        logDebug(kLookupLog, "Pattern '%s' matches with %s", stanza,
                 priority == 0 ? "lowest priority" : "priority " + std::to_string(priority));
      }
      getExactStanza(conf, out, stanza);
    }
  }
  getExactStanza(conf, out, kDefaultStanza);
}

std::vector<ConfStore::Candidate> ConfStore::candidates(Conf& conf, const std::string& name,
                                                        MatchBudget* budget) {
  std::vector<Candidate> found;
  const auto add = [&](std::string_view stanza, bool isPattern, std::int64_t defaultPriority) {
    found.push_back({priority(conf, stanza, defaultPriority), isPattern, stanza});
  };
  if (const auto exact = occurrences(conf, name); !exact.empty()) {
    add(exact.front().stanza->name, false, kExactPriority);
  }
  if (budget != nullptr) {
    for (const auto* pattern : matchingPatterns(conf, name, *budget)) {
      add(pattern->name(), true, kPatternPriority);
    }
  }
  std::ranges::sort(found, [](const Candidate& a, const Candidate& b) {
    return std::tie(b.priority, a.stanza) < std::tie(a.priority, b.stanza);
  });
  return found;
}

std::int64_t ConfStore::priority(Conf& conf, std::string_view stanza, std::int64_t fallback) {
  constexpr std::string_view kPriority = "priority";
  for (const auto& [found, file] : occurrences(conf, stanza)) {
    if (const auto* setting = found->find(kPriority)) {
      return PropertiesMap{{kPriority, setting->value()}}.getInt(kPriority, fallback);
    }
  }
  return fallback;
}

// A pattern that does not compile or costs too much is told once a run.
std::vector<const StanzaPattern*> ConfStore::matchingPatterns(Conf& conf, const std::string& name,
                                                              MatchBudget& budget) {
  // An expression matches no byte that is not UTF-8, but the name of a file may hold any.
  const std::string matchable = withInvalidUtf8Replaced(name);
  std::vector<const StanzaPattern*> matching;
  RecordLimit invalid;
  RecordLimit costly;
  const auto isNew = [&](const StanzaPattern* pattern) {
    return reportedPatterns_.insert(pattern).second;
  };
  for (const auto* pattern : patterns(conf)) {
    const auto answer = pattern->match(matchable, budget);
    if (budget.isSpent()) {
      if (isNew(pattern)) {
        logWarn(kLookupLog,
                "The stanza patterns cost too much: [%s] and those after it do not apply to %s.",
                pattern->name(), name);
      }
      break;
    }
    if (answer == StanzaPattern::Answer::Match) {
      matching.push_back(pattern);
    } else if (answer == StanzaPattern::Answer::Invalid) {
      if (isNew(pattern) && invalid.admit()) pattern->logError();
    } else if (answer == StanzaPattern::Answer::TooCostly) {
      if (!isNew(pattern) || !costly.admit()) continue;
      logWarn(kLookupLog, "The stanza pattern [%s] costs too much and does not apply to %s.",
              pattern->name(), name);
    }
  }
  if (invalid.omitted() > 0) {
    logWarn(kLookupLog, "%lu more stanza patterns do not compile.", invalid.omitted());
  }
  if (costly.omitted() > 0) {
    logWarn(kLookupLog, "%lu more stanza patterns cost too much.", costly.omitted());
  }
  return matching;
}

const std::vector<const StanzaPattern*>& ConfStore::patterns(Conf& conf) {
  load(conf);
  if (!conf.patterns_) {
    conf.patterns_.emplace();
    std::optional<std::string_view> previous;
    for (const auto& [stanza, file] : conf.stanzas_) {
      if (stanza->name == previous) continue;
      previous = stanza->name;
      if (const auto* pattern = findPattern(stanza->name)) conf.patterns_->push_back(pattern);
    }
  }
  return *conf.patterns_;
}

const StanzaPattern* ConfStore::findPattern(std::string_view stanza) {
  if (!isStanzaPattern(stanza)) return nullptr;
  const std::scoped_lock lock(patternMutex_);
  return &patternCache_.try_emplace(std::string(stanza), stanza, pathForm_).first->second;
}

// --- Writing ---

bool ConfStore::writeStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                            bool overwriteAll) {
  return writeStanzaIf(conf, stanza, settings, overwriteAll, [] { return true; }) ==
         WriteOutcome::Written;
}

WriteOutcome ConfStore::writeStanzaIf(Conf& conf, std::string_view stanza,
                                      const PropertiesMap& settings, bool overwriteAll,
                                      const Condition& stillHolds) {
  return write(conf, systemLocalDirectory(root_), stanza, settings, overwriteAll, stillHolds);
}

WriteOutcome ConfStore::addStanza(Conf& conf, std::string_view stanza,
                                  const PropertiesMap& settings, bool overwriteAll) {
  return writeStanzaIf(conf, stanza, settings, overwriteAll,
                       [&] { return !stanzaExists(conf, stanza); });
}

bool ConfStore::writeLearnedStanza(Conf& conf, std::string_view stanza,
                                   const PropertiesMap& settings) {
  const std::scoped_lock lock(mutex_);
  const auto path = learnedFile(conf);
  try {
    const bool isAppended = underLock(path, [&](const FileLock& held) {
      return appendLearned(conf, path, stanza, settings, held);
    });
    if (isAppended) return true;
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot write stanza [%s] of %s: %s", stanza, pathToText(path),
             error.what());
    return false;
  }
  return write(conf, path.parent_path(), stanza, settings, true, [] { return true; }) ==
         WriteOutcome::Written;
}

ConfStore::Dropped ConfStore::dropLearnedStanzas(Conf& conf, const StanzaNames& names,
                                                 const StanzaNames& added) {
  const std::scoped_lock lock(mutex_);
  const auto path = learnedFile(conf);
  if (names.empty()) return {};
  try {
    return underLock(path, [&](const FileLock& held) -> Dropped {
      const FileBytes bytes = readConfFile(path);
      if (bytes.error && !isMissingFile(bytes.error)) {
        throw std::system_error(bytes.error, "cannot read " + pathToText(path));
      }
      const Split split = splitStanzas(bytes.view(), path, names, added);
      if (split.dropped.empty()) return {};  // another process has dropped them
      // Where a link leads to the file, the copy stays on the disk and in the directory that
      // somebody chose for the file, and under the same lock.
      const auto file = writeTarget(path);
      auto copy = file;
      copy += ".old";
      removeLeftovers(copy);
      replaceFile(copy, split.before, file, &held);
      // A link is an administrator's: it stays, and the file that it leads to is emptied.
      if (file != path || !split.kept.empty()) {
        replaceFile(file, split.kept, &held);
      } else {
        held.ensureHeld();
        if (const auto error = removeFile(path)) {
          throw std::system_error(error, "cannot delete " + pathToText(path));
        }
      }
      conf.learned_.reset();
      reload(conf);
      return {.stanzas = split.dropped.size(), .copy = copy, .error = {}};
    });
  } catch (const std::runtime_error& failure) {  // of a call of the system, or the tree is gone
    logError(kStoreLog, "Cannot set aside what was learned before: %s", failure.what());
    const auto* const error = dynamic_cast<const std::system_error*>(&failure);
    const auto gone = std::make_error_code(std::errc::no_such_file_or_directory);
    return {.stanzas = 0, .copy = {}, .error = error != nullptr ? error->code() : gone};
  }
}

// Reads the file again if it has changed.
void ConfStore::learnOfFile(Conf& conf, const std::filesystem::path& path) {
  const FileIdentity identity = fileIdentity(path);
  if (conf.learned_ && conf.learned_->identity == identity) return;
  const FileBytes bytes = readConfFile(path);
  if (bytes.error && !isMissingFile(bytes.error)) {
    throw std::system_error(bytes.error, "cannot read what it holds");
  }
  conf.learned_ = Conf::LearnedFile{.identity = identity, .stanzas = {}};
  TextKeeper keeper;
  LogicalLineReader reader(bytes.view(), path, keeper, Report::No);
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) conf.learned_->stanzas.emplace(line.name);
    if (line.kind == LineKind::Setting) ++conf.learned_->settings;
  }
  conf.learned_->endsInNewline = bytes.size == 0 || bytes.view().ends_with('\n');
}

// Adds a stanza at the end of the file, behind a blank line, which is also what a line that a crash
// left unfinished goes on in; false when the file has the stanza already.
bool ConfStore::appendLearned(Conf& conf, const std::filesystem::path& path,
                              std::string_view stanza, const PropertiesMap& settings,
                              const FileLock& lock) {
  learnOfFile(conf, path);
  if (conf.learned_->stanzas.contains(std::string(stanza))) return false;
  const std::size_t settingsAfter = conf.learned_->settings + settings.entries().size();
  const bool isFull = conf.learned_->stanzas.size() >= ConfFile::kMaxHeaders;
  if (isFull || settingsAfter > ConfFile::kMaxSettings) throw std::runtime_error(kTooLarge);
  std::string text = renderHeader(stanza) + "\n";
  for (const auto& [key, entry] : settings.entries()) {
    text += renderSetting(key, entry.value) + "\n";
  }
  const ConfFile before(path, {}, Report::No);
  if (!isExactEdit(before, ConfFile(path, copyOf(text), Report::No), stanza, settings)) {
    throw std::runtime_error("a key or value would not read back the same");
  }
  // For the record alone: reading all layers for each model would take ever longer.
  if (kStoreLog.isEnabled(LogLevel::Debug)) {
    logSaving(pathToText(path), true, existingSettings(conf, stanza), settings);
  }
  if (conf.learned_->identity.size > 0) text.insert(0, "\n");
  if (!conf.learned_->endsInNewline) text.insert(0, "\n");
  lock.ensureHeld();
  appendToFile(path, text);
  conf.learned_->identity = fileIdentity(path);
  conf.learned_->stanzas.emplace(stanza);
  conf.learned_->settings = settingsAfter;
  conf.learned_->endsInNewline = true;
  conf.loaded_ = false;
  logSaved(path);
  return true;
}

std::filesystem::path ConfStore::learnedFile(const Conf& conf) const {
  return appLocalDirectory(root_, kLearnedApp) / (conf.name() + ".conf");
}

PropertiesMap ConfStore::existingSettings(Conf& conf, std::string_view stanza) {
  PropertiesMap existing;
  getExactStanza(conf, existing, stanza);
  getExactStanza(conf, existing, kDefaultStanza);
  return existing;
}

WriteOutcome ConfStore::write(Conf& conf, const std::filesystem::path& directory,
                              std::string_view stanza, const PropertiesMap& settings,
                              bool overwriteAll, const Condition& stillHolds) {
  const std::scoped_lock lock(mutex_);
  load(conf);
  Conf::Layer& layer = layerOf(conf, directory);
  const auto target = fileOf(conf, layer);
  const auto targetText = pathToText(target);
  try {
    return underLock(target, [&](const FileLock& held) {
      refresh(conf, layer);
      if (!stillHolds()) return WriteOutcome::Overtaken;

      const PropertiesMap existing = existingSettings(conf, stanza);
      const PropertiesMap changes =
          overwriteAll ? settings : PropertiesMap::diff(settings, existing);
      logSaving(targetText, overwriteAll, existing, settings);
      const bool isNew = occurrences(conf, stanza).empty();
      if (!changes.entries().empty() || isNew) {
        const FileIdentity before = layer.identity;
        edit(conf, layer, stanza, changes, held);
        if (isNew) conf.addition_ = {std::string(stanza), changes, before, layer.identity};
      }
      logSaved(target);
      return WriteOutcome::Written;
    });
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot write stanza [%s] of %s: %s", stanza, targetText, error.what());
    return WriteOutcome::Failed;
  }
}

void ConfStore::edit(Conf& conf, Conf::Layer& layer, std::string_view stanza,
                     const PropertiesMap& changes, const FileLock& lock) {
  if (append(conf, layer, stanza, changes, lock)) return;
  const auto target = fileOf(conf, layer);
  // One text again: what was appended is not in the bytes of the file that was read.
  if (!layer.added.empty()) {
    loadFile(conf, layer, Report::No);
    indexStanzas(conf);
  }
  if (layer.error && !isMissingFile(layer.error)) {
    throw std::system_error(layer.error, "cannot read what it holds");
  }
  const ConfFile none(target, {}, Report::No);
  const ConfFile& old = layer.file != nullptr ? *layer.file : none;
  if (!old.isComplete()) throw std::runtime_error(kTooLarge);

  IniFile file = IniFile::parse(old.bytes(), target, Report::No);
  file.addStanza(stanza);
  for (const auto& [key, entry] : changes.entries()) file.set(stanza, key, entry.value);
  auto edited = std::make_unique<ConfFile>(target, copyOf(file.toText()), Report::No);
  if (!edited->isComplete()) throw std::runtime_error(kTooLarge);
  if (!isExactEdit(old, *edited, stanza, changes)) {
    throw std::runtime_error("a key or value would not read back the same");
  }
  replace(conf, layer, std::move(edited), lock);
}

void ConfStore::replace(Conf& conf, Conf::Layer& layer, std::unique_ptr<ConfFile> file,
                        const FileLock& lock) {
  replaceFile(file->path(), file->bytes(), &lock);
  layer.identity = fileIdentity(file->path());
  layer.added.clear();
  layer.file = std::move(file);
  layer.error = {};
  indexStanzas(conf);
}

// Adds a stanza that the file does not have at its end, at a cost that the file's size has no part
// in. False where the file has to be replaced instead. Until all of the stanza is on the disk its
// header reads "[[name]", which is the stanza of no sourcetype; then a line end takes the place of
// the first bracket.
bool ConfStore::append(Conf& conf, Conf::Layer& layer, std::string_view stanza,
                       const PropertiesMap& changes, const FileLock& lock) {
  const bool isStrongest = &layer == &conf.layers_.front();  // others need their place in the index
  if (!isStrongest || layer.file == nullptr) return false;
  if (!layer.file->isComplete()) throw std::runtime_error(kTooLarge);
  const std::size_t headers = layer.file->stanzas().size() + layer.added.size();
  if (headers >= ConfFile::kMaxHeaders) return false;
  const auto target = fileOf(conf, layer);
  const auto isInTarget = [&](const auto& found) { return found.file->path() == target; };
  if (std::ranges::any_of(occurrences(conf, stanza), isInTarget)) return false;
  const auto lastText = layer.added.empty() ? layer.file->bytes() : layer.added.back()->bytes();
  if (!endsWithWholeLine(lastText)) return false;

  const std::string_view lineEnd = lineEndOf(layer.file->bytes());
  std::string text = renderHeader(stanza).append(lineEnd);
  for (const auto& [key, entry] : changes.entries()) {
    text.append(renderSetting(key, entry.value)).append(lineEnd);
  }
  auto added = std::make_unique<ConfFile>(target, copyOf(text), Report::No);
  const ConfFile before(target, {}, Report::No);
  if (!isExactEdit(before, *added, stanza, changes)) {
    throw std::runtime_error("a key or value would not read back the same");
  }
  const DecisiveText whole{
      .content = std::string(lineEnd) + text, .decisive = lineEnd.size() - 1, .placeholder = '['};
  if (!appendToFile(target, whole, lock)) return false;

  const FileIdentity identity = fileIdentity(target);
  if (identity.size == layer.identity.size + whole.content.size()) layer.identity = identity;
  const auto nameOf = [](const auto& found) { return found.stanza->name; };
  conf.stanzas_.insert(std::ranges::lower_bound(conf.stanzas_, stanza, {}, nameOf),
                       {&added->stanzas().front(), added.get()});
  if (isStanzaPattern(stanza)) conf.patterns_.reset();
  layer.added.push_back(std::move(added));
  return true;
}

void ConfStore::takeBackStanza(Conf& conf, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  if (!conf.addition_ || conf.addition_->stanza != stanza) return;
  const auto addition = *std::exchange(conf.addition_, std::nullopt);
  load(conf);
  Conf::Layer& layer = layerOf(conf, systemLocalDirectory(root_));
  const auto target = fileOf(conf, layer);
  try {
    underLock(target, [&](const FileLock& held) {
      const auto now = fileIdentity(target);
      const bool isLast = now == addition.after && now.number == addition.before.number;
      if (isLast) {  // this needs no room on the disk
        held.ensureHeld();
        cutFile(target, addition.before.size);
      }
      loadFile(conf, layer, Report::No);
      indexStanzas(conf);
      const auto* left = layer.file != nullptr ? layer.file->find(stanza) : nullptr;
      if (left == nullptr || settingsOf(*left) != addition.settings) return;
      const auto text = splitStanzas(layer.file->bytes(), target, {std::string(stanza)}, {}).kept;
      auto without = std::make_unique<ConfFile>(target, copyOf(text), Report::No);
      replace(conf, layer, std::move(without), held);
    });
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot take back stanza [%s] of %s: %s", stanza, pathToText(target),
             error.what());
  }
}

}  // namespace sourcetype
