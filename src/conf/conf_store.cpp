#include "conf/conf_store.h"

#include <iterator>
#include <optional>
#include <utility>

#include "conf/layers.h"

namespace sourcetype {
namespace {

std::vector<std::string> splitNames(std::string_view names) {
  std::vector<std::string> result;
  while (true) {
    const auto end = names.find('|');
    result.emplace_back(names.substr(0, end));
    if (end == std::string_view::npos) return result;
    names.remove_prefix(end + 1);
  }
}

// Calls `visit` once for each name that begins with `prefix`.
template <class Visit>
void visitNames(ConfIndex& index, std::string_view prefix, const Visit& visit) {
  std::optional<std::string_view> previous;
  for (const auto& [stanza, file] : index.findPrefix(prefix)) {
    if (stanza->name != previous) visit(stanza->name);
    previous = stanza->name;
  }
}

}  // namespace

Conf::Conf(const std::filesystem::path& root, std::string name, PathForm pathForm,
           WriteLocks& locks, ConfStorage& storage)
    : name_(std::move(name)),
      index_(root, name_ + ".conf", storage),
      lookup_(index_, pathForm),
      writer_(index_, lookup_, locks, storage),
      learned_(appLocalDirectory(root, kLearnedApp) / (name_ + ".conf"), index_, lookup_, writer_,
               locks, storage) {}

ConfStore::ConfStore(std::filesystem::path root, PathForm pathForm,
                     std::chrono::milliseconds maxLockWait, ConfStorage& storage)
    : root_(std::move(root)),
      pathForm_(pathForm),
      storage_(storage),
      locks_(root_, maxLockWait, storage) {}

Conf& ConfStore::getConf(std::string_view name) {
  const std::scoped_lock lock(mutex_);
  const std::string key(name);
  return confs_.try_emplace(key, root_, key, pathForm_, locks_, storage_).first->second;
}

void ConfStore::reload(Conf& conf) {
  const std::scoped_lock lock(mutex_);
  conf.index_.forget();
}

bool ConfStore::stanzaExists(Conf& conf, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  return !conf.index_.find(stanza).empty();
}

std::vector<std::string> ConfStore::stanzaNames(Conf& conf, std::string_view prefix) {
  const std::scoped_lock lock(mutex_);
  std::vector<std::string> names;
  visitNames(conf.index_, prefix, [&](std::string_view name) { names.emplace_back(name); });
  return names;
}

std::size_t ConfStore::countStanzas(Conf& conf, std::string_view prefix,
                                    bool (*counts)(std::string_view name)) {
  const std::scoped_lock lock(mutex_);
  std::size_t count = 0;
  visitNames(conf.index_, prefix, [&](std::string_view name) {
    if (counts(name)) ++count;
  });
  return count;
}

std::filesystem::path ConfStore::settingFile(Conf& conf, std::string_view stanza,
                                             std::string_view key) {
  const std::scoped_lock lock(mutex_);
  for (const auto& [found, file] : conf.index_.find(stanza)) {
    if (found->find(key) != nullptr) return file->path();
  }
  return {};
}

std::vector<SettingPlace> ConfStore::settingPlaces(Conf& conf, std::string_view stanza,
                                                   std::string_view key) {
  const std::scoped_lock lock(mutex_);
  std::vector<SettingPlace> places;
  for (const auto& [found, file] : conf.index_.find(stanza)) {
    if (found->find(key) == nullptr) continue;
    const FileBytes bytes = storage_.read(file->path());
    auto inFile = findSettings(bytes.view(), file->path(), stanza, key);
    places.insert(places.end(), std::make_move_iterator(inFile.rbegin()),
                  std::make_move_iterator(inFile.rend()));
  }
  return places;
}

void ConfStore::getExactStanza(Conf& conf, PropertiesMap& out, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  conf.lookup_.addExactStanza(out, stanza);
}

void ConfStore::visitStanzas(Conf& conf, const StanzaVisitor& visit, std::string_view prefix) {
  const std::scoped_lock lock(mutex_);
  conf.lookup_.visitStanzas(visit, prefix);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out, std::string_view names,
                                  PatternMatching matching) {
  getStanzaSettings(conf, out, splitNames(names), matching);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out,
                                  std::span<const std::string> names, PatternMatching matching) {
  const std::scoped_lock lock(mutex_);
  conf.lookup_.addSettings(out, names, matching);
}

void ConfStore::getStanzaSettings(Conf& conf, PropertiesMap& out,
                                  std::span<const std::string> names, MatchBudget& budget) {
  const std::scoped_lock lock(mutex_);
  conf.lookup_.addSettings(out, names, budget);
}

std::vector<std::string> ConfStore::applyingStanzas(Conf& conf, std::span<const std::string> names,
                                                    PatternMatching matching) {
  const std::scoped_lock lock(mutex_);
  return conf.lookup_.applyingStanzas(names, matching);
}

bool ConfStore::writeStanza(Conf& conf, std::string_view stanza, const PropertiesMap& settings,
                            bool overwriteAll) {
  return writeStanzaIf(conf, stanza, settings, overwriteAll, [] { return true; }) ==
         WriteOutcome::Written;
}

WriteOutcome ConfStore::writeStanzaIf(Conf& conf, std::string_view stanza,
                                      const PropertiesMap& settings, bool overwriteAll,
                                      const Condition& stillHolds) {
  const std::scoped_lock lock(mutex_);
  return conf.writer_.write(localFile(conf), stanza, settings, overwriteAll, stillHolds);
}

WriteOutcome ConfStore::addStanza(Conf& conf, std::string_view stanza,
                                  const PropertiesMap& settings, bool overwriteAll) {
  return writeStanzaIf(conf, stanza, settings, overwriteAll,
                       [&] { return !stanzaExists(conf, stanza); });
}

void ConfStore::takeBackStanza(Conf& conf, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  conf.writer_.takeBack(localFile(conf), stanza);
}

bool ConfStore::removeStanza(Conf& conf, std::string_view stanza) {
  const std::scoped_lock lock(mutex_);
  return conf.writer_.remove(localFile(conf), stanza);
}

bool ConfStore::writeLearnedStanza(Conf& conf, std::string_view stanza,
                                   const PropertiesMap& settings) {
  const std::scoped_lock lock(mutex_);
  return conf.learned_.write(stanza, settings);
}

ConfStore::Dropped ConfStore::dropLearnedStanzas(Conf& conf, const StanzaNames& names,
                                                 const StanzaNames& added) {
  const std::scoped_lock lock(mutex_);
  return conf.learned_.drop(names, added);
}

std::size_t ConfStore::restoreLearnedStanzas(Conf& conf) {
  const std::scoped_lock lock(mutex_);
  return conf.learned_.restore();
}

std::filesystem::path ConfStore::learnedCopy(const Conf& conf) const {
  return conf.learned_.copy();
}

std::filesystem::path ConfStore::learnedFile(const Conf& conf) const {
  return conf.learned_.file();
}

std::filesystem::path ConfStore::localFile(const Conf& conf) const {
  return systemLocalDirectory(root_) / (conf.name() + ".conf");
}

}  // namespace sourcetype
