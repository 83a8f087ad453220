#include "conf/conf_store.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <stdexcept>
#include <tuple>

#include "conf/ini_file.h"
#include "conf/layers.h"

namespace sourcetype {
namespace {

constexpr LogCategory kStoreLog{"ConfObjectManagerDB"};
constexpr LogCategory kLookupLog{"PropertiesMapConfig"};

constexpr std::int64_t kExactPriority = 100;
constexpr std::int64_t kPatternPriority = 0;

// Long enough for any number of writers that take turns, short enough to tell a user that one
// hangs.
constexpr std::chrono::seconds kLockWait{10};

std::filesystem::path lockFileOf(const std::filesystem::path& target) {
  auto lock = target;
  return lock += ".lock";
}

FileBytes copyOf(std::string_view text) {
  FileBytes copy{.bytes = std::make_unique_for_overwrite<char[]>(text.size()),  // NOLINT
                 .size = text.size(),
                 .error = {}};
  std::ranges::copy(text, copy.bytes.get());
  return copy;
}

std::vector<std::string> splitNames(std::string_view names) {
  std::vector<std::string> result;
  for (std::size_t end = 0; end != std::string_view::npos; names.remove_prefix(end + 1)) {
    end = names.find('|');
    result.emplace_back(names.substr(0, end));
    if (end == std::string_view::npos) break;
  }
  return result;
}

std::string joinNames(std::span<const std::string> names) {
  std::string result;
  for (const auto& name : names) result += (result.empty() ? "" : "|") + name;
  return result;
}

bool sameSettings(const ConfFile::Stanza& a, const ConfFile::Stanza& b) {
  return std::ranges::equal(a.settings, b.settings, [](const auto& x, const auto& y) {
    return x.key == y.key && x.value == y.value;
  });
}

// True when `after` is `before` with `changes` in one stanza and nothing else new, lost or changed.
bool isExactEdit(const ConfFile& before, const ConfFile& after, std::string_view stanza,
                 const PropertiesMap& changes) {
  PropertiesMap expected = changes;
  if (const auto* old = before.find(stanza)) {
    for (const auto& [key, value] : old->settings) expected.insertIfAbsent(key, value, {});
  }
  PropertiesMap found;
  const auto* edited = after.find(stanza);
  if (edited == nullptr) return false;
  for (const auto& [key, value] : edited->settings) found.set(key, value);
  if (found != expected) return false;

  const auto isOther = [&](const auto& other) { return other.name != stanza; };
  std::vector<ConfFile::Stanza> othersBefore;
  std::vector<ConfFile::Stanza> othersAfter;
  std::ranges::copy_if(before.stanzas(), std::back_inserter(othersBefore), isOther);
  std::ranges::copy_if(after.stanzas(), std::back_inserter(othersAfter), isOther);
  return std::ranges::equal(othersBefore, othersAfter, [](const auto& a, const auto& b) {
    return a.name == b.name && sameSettings(a, b);
  });
}

}  // namespace

// A stanza that applies to a name.
struct ConfStore::Candidate {
  std::int64_t priority;
  bool isPattern;
  std::string_view stanza;
};

ConfStore::ConfStore(std::filesystem::path root, PathForm pathForm)
    : root_(std::move(root)), pathForm_(pathForm) {}

Conf& ConfStore::getConf(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  return confs_.try_emplace(std::string(name), std::string(name)).first->second;
}

void ConfStore::reload(Conf& conf) {
  const std::scoped_lock lock(mutex_);
  conf.loaded_ = false;
}

// --- Reading ---

void ConfStore::load(Conf& conf) {
  if (conf.loaded_) return;
  if (layers_.empty()) layers_ = layerDirectories(root_);
  conf.files_.clear();
  conf.files_.resize(layers_.size());
  for (std::size_t layer = 0; layer < layers_.size(); ++layer) {
    loadFile(conf, layer, Report::Yes);
  }
  indexStanzas(conf);
  conf.loaded_ = true;
}

void ConfStore::loadFile(Conf& conf, std::size_t layer, Report report) {
  const auto path = layers_[layer] / (conf.name() + ".conf");
  FileBytes bytes = readFile(path);
  const auto error = bytes.error;
  conf.files_[layer].reset();
  if (!error) {
    conf.files_[layer] = std::make_unique<ConfFile>(path, std::move(bytes), report);
  } else if (!isMissingFile(error)) {
    logWarn(kStoreLog, "Failed to open: %s: %m", pathToText(path), error);
  }
}

void ConfStore::indexStanzas(Conf& conf) {
  conf.stanzas_.clear();
  conf.patterns_.reset();
  for (const auto& file : conf.files_) {
    if (file == nullptr) continue;
    for (const auto& stanza : file->stanzas()) conf.stanzas_.push_back({&stanza, file.get()});
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
    for (const auto& [key, value] : found->settings) out.insertIfAbsent(key, value, stanza);
  }
}

// --- Lookup by name and pattern ---

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out, std::string_view names,
                                  PatternMatching matching) {
  getStanzaSettings(conf, out, splitNames(names), matching);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out,
                                  std::span<const std::string> names, PatternMatching matching) {
  const std::scoped_lock lock(mutex_);
  if (matching == PatternMatching::Yes && kLookupLog.isEnabled(LogLevel::Debug)) {
    logDebug(kLookupLog, "Performing pattern matching for: %s", joinNames(names));
  }
  for (const auto& name : names) {
    for (const auto& [priority, isPattern, stanza] : candidates(conf, name, matching)) {
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
                                                        PatternMatching matching) {
  std::vector<Candidate> found;
  const auto add = [&](std::string_view stanza, bool isPattern, std::int64_t defaultPriority) {
    PropertiesMap settings;
    getExactStanza(conf, settings, stanza);
    found.push_back({settings.getInt("priority", defaultPriority), isPattern, stanza});
  };
  if (const auto exact = occurrences(conf, name); !exact.empty()) {
    add(exact.front().stanza->name, false, kExactPriority);
  }
  if (matching == PatternMatching::Yes) {
    for (const auto* pattern : patterns(conf)) {
      if (pattern->matches(name)) add(pattern->name(), true, kPatternPriority);
    }
  }
  std::ranges::sort(found, [](const Candidate& a, const Candidate& b) {
    return std::tie(b.priority, a.stanza) < std::tie(a.priority, b.stanza);
  });
  return found;
}

const std::vector<const StanzaPattern*>& ConfStore::patterns(Conf& conf) {
  load(conf);
  if (!conf.patterns_) {
    conf.patterns_.emplace();
    std::string_view previous;
    for (const auto& [stanza, file] : conf.stanzas_) {
      if (stanza->name == previous && stanza != conf.stanzas_.front().stanza) continue;
      previous = stanza->name;
      if (const auto* pattern = findPattern(stanza->name)) conf.patterns_->push_back(pattern);
    }
  }
  return *conf.patterns_;
}

const StanzaPattern* ConfStore::findPattern(std::string_view stanza) {
  const std::scoped_lock lock(patternMutex_);
  const auto [cached, isNew] = patternCache_.try_emplace(std::string(stanza));
  if (isNew && isStanzaPattern(stanza)) cached->second.emplace(stanza, pathForm_);
  return cached->second ? &*cached->second : nullptr;
}

// --- Writing ---

bool ConfStore::writeStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                            bool overwriteAll) {
  return write(conf, systemLocalDirectory(root_), stanza, settings, overwriteAll);
}

bool ConfStore::writeLearnedStanza(Conf& conf, std::string_view stanza,
                                   const PropertiesMap& settings) {
  return write(conf, appLocalDirectory(root_, kLearnedApp), stanza, settings, true);
}

std::filesystem::path ConfStore::learnedFile(const Conf& conf) const {
  return appLocalDirectory(root_, kLearnedApp) / (conf.name() + ".conf");
}

bool ConfStore::write(Conf& conf, const std::filesystem::path& directory, std::string_view stanza,
                      const PropertiesMap& settings, bool overwriteAll) {
  const std::scoped_lock lock(mutex_);
  load(conf);
  const auto layer =
      static_cast<std::size_t>(std::ranges::find(layers_, directory) - layers_.begin());
  const auto target = directory / (conf.name() + ".conf");
  const auto targetText = pathToText(target);
  try {
    const FileLock fileLock(lockFileOf(target), kLockWait);
    loadFile(conf, layer, Report::No);  // another process may have written meanwhile
    indexStanzas(conf);

    PropertiesMap existing;
    getExactStanza(conf, existing, stanza);
    getExactStanza(conf, existing, kDefaultStanza);
    const PropertiesMap changes = overwriteAll ? settings : PropertiesMap::diff(settings, existing);
    logDebug(kStoreLog, "writing with overwriteAll == %s: %s", overwriteAll ? "true" : "false",
             targetText);
    if (kStoreLog.isEnabled(LogLevel::Debug)) {
      logDebug(kStoreLog, "Saving settings: %s\nExisting:\n%sDesired:\n%sDiff:\n%s", targetText,
               MultiLineText{existing.toString()}, MultiLineText{settings.toString()},
               MultiLineText{changes.toString()});
    }
    if (!changes.entries().empty() || occurrences(conf, stanza).empty()) {
      edit(conf, layer, stanza, changes);
    }
    logDebug(kStoreLog, "Saved settings: %s %s", targetText, targetText);
    return true;
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot write stanza [%s] of %s: %s", stanza, targetText, error.what());
    return false;
  }
}

void ConfStore::edit(Conf& conf, std::size_t layer, std::string_view stanza,
                     const PropertiesMap& changes) {
  const auto target = layers_[layer] / (conf.name() + ".conf");
  if (conf.files_[layer] == nullptr) {
    if (const auto error = readFile(target).error; !isMissingFile(error)) {
      throw std::system_error(error, "cannot read what it holds");
    }
    conf.files_[layer] = std::make_unique<ConfFile>(target, FileBytes{}, Report::No);
  }
  const ConfFile& old = *conf.files_[layer];

  IniFile file = IniFile::parse(old.bytes(), target, Report::No);
  file.addStanza(stanza);
  for (const auto& [key, entry] : changes.entries()) file.set(stanza, key, entry.value);
  const std::string text = file.toText();

  auto edited = std::make_unique<ConfFile>(target, copyOf(text), Report::No);
  if (!isExactEdit(old, *edited, stanza, changes)) {
    throw std::runtime_error("a key or value would not read back the same");
  }
  replaceFile(target, text);
  conf.files_[layer] = std::move(edited);
  indexStanzas(conf);
}

}  // namespace sourcetype
