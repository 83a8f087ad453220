#include "conf/conf_writer.h"

#include <algorithm>
#include <cstddef>
#include <exception>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "conf/conf_edit.h"
#include "conf/ini_file.h"
#include "conf/logical_lines.h"
#include "conf/store_log.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

// True when text that is appended to `text` begins a new logical line.
bool endsWithWholeLine(std::string_view text) {
  if (!text.ends_with('\n')) return false;
  const auto last = text.find_last_not_of("\r\n");
  return last != std::string_view::npos && text[last] != '\\';
}

}  // namespace

WriteOutcome ConfWriter::write(const std::filesystem::path& file, std::string_view stanza,
                               const PropertiesMap& settings, bool overwriteAll,
                               const Condition& stillHolds) {
  ConfIndex::Layer& layer = index_.layerOf(file);
  try {
    return locks_.underLock(file, [&](const FileLock& held) {
      index_.refresh(layer);
      if (!stillHolds()) return WriteOutcome::Overtaken;

      const PropertiesMap existing = lookup_.settingsWithDefaults(stanza);
      const PropertiesMap changes =
          overwriteAll ? settings : PropertiesMap::diff(settings, existing);
      logSaving(file, overwriteAll, existing, settings);
      const bool isNew = index_.find(stanza).empty();
      if (!changes.entries().empty() || isNew) {
        const FileIdentity before = layer.identity;
        edit(layer, stanza, changes, held);
        if (isNew) addition_ = {std::string(stanza), changes, before, layer.identity};
      }
      logSaved(file);
      return WriteOutcome::Written;
    });
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot write stanza [%s] of %s: %s", stanza, pathToText(file),
             error.what());
    return WriteOutcome::Failed;
  }
}

void ConfWriter::edit(ConfIndex::Layer& layer, std::string_view stanza,
                      const PropertiesMap& changes, const FileLock& lock) {
  if (append(layer, stanza, changes, lock)) return;
  // Stanzas that were appended after the read are not in the bytes of layer.file.
  if (!layer.added.empty()) index_.reread(layer);
  if (layer.error && !isMissingFile(layer.error)) {
    throw std::system_error(layer.error, "cannot read what it holds");
  }
  const ConfFile none = parseText(layer.path, {});
  const ConfFile& old = layer.file != nullptr ? *layer.file : none;
  if (!old.isComplete()) throw std::runtime_error(kTooLarge);

  IniFile file = IniFile::parse(old.bytes(), layer.path, Report::No);
  file.addStanza(stanza);
  for (const auto& [key, entry] : changes.entries()) file.set(stanza, key, entry.value);
  auto edited = std::make_unique<ConfFile>(parseText(layer.path, file.toText()));
  if (!edited->isComplete()) throw std::runtime_error(kTooLarge);
  requireExactEdit(old, *edited, stanza, changes);
  replace(layer, std::move(edited), lock);
}

void ConfWriter::replace(ConfIndex::Layer& layer, std::unique_ptr<ConfFile> file,
                         const FileLock& lock) {
  storage_.replace(layer.path, file->bytes(), lock);
  index_.setFile(layer, std::move(file));
}

// Appends a stanza that the file does not have, in time independent of the file's size. False when
// the file has to be replaced instead. Until the whole stanza is on the disk, its header is
// "[[name]", the stanza of no sourcetype; then a line end replaces the first bracket.
bool ConfWriter::append(ConfIndex::Layer& layer, std::string_view stanza,
                        const PropertiesMap& changes, const FileLock& lock) {
  if (!canAppend(layer, stanza)) return false;
  const std::string_view lineEnd = lineEndOf(layer.file->bytes());
  auto added = std::make_unique<ConfFile>(makeStanza(layer.path, stanza, changes, lineEnd));
  const DecisiveText whole{.content = std::string(lineEnd).append(added->bytes()),
                           .decisive = lineEnd.size() - 1,
                           .placeholder = '['};
  if (!storage_.append(layer.path, whole, lock)) return false;

  const FileIdentity identity = storage_.identity(layer.path);
  if (identity.size == layer.identity.size + whole.content.size()) layer.identity = identity;
  index_.addStanza(layer, std::move(added));
  return true;
}

bool ConfWriter::canAppend(const ConfIndex::Layer& layer, std::string_view stanza) {
  if (!index_.isStrongest(layer)) return false;  // the index adds stanzas to that layer only
  if (layer.file == nullptr) return false;
  if (!layer.file->isComplete()) throw std::runtime_error(kTooLarge);
  const std::size_t headers = layer.file->stanzas().size() + layer.added.size();
  if (headers >= ConfFile::kMaxHeaders) return false;
  const auto isInFile = [&](const auto& found) { return found.file->path() == layer.path; };
  if (std::ranges::any_of(index_.find(stanza), isInFile)) return false;
  return endsWithWholeLine(layer.added.empty() ? layer.file->bytes() : layer.added.back()->bytes());
}

void ConfWriter::takeBack(const std::filesystem::path& file, std::string_view stanza) {
  if (!addition_ || addition_->stanza != stanza) return;
  const auto addition = *std::exchange(addition_, std::nullopt);
  ConfIndex::Layer& layer = index_.layerOf(file);
  try {
    locks_.underLock(file, [&](const FileLock& held) {
      const auto now = storage_.identity(file);
      const bool isLast = now == addition.after && now.number == addition.before.number;
      if (isLast) {  // cutting works on a full disk too
        held.ensureHeld();
        storage_.cut(file, addition.before.size);
      }
      index_.reread(layer);
      const auto* left = layer.file != nullptr ? layer.file->find(stanza) : nullptr;
      if (left == nullptr || settingsOf(*left) != addition.settings) return;
      removeFrom(layer, stanza, held);
    });
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot take back stanza [%s] of %s: %s", stanza, pathToText(file),
             error.what());
  }
}

bool ConfWriter::remove(const std::filesystem::path& file, std::string_view stanza) {
  ConfIndex::Layer& layer = index_.layerOf(file);
  return locks_.underLock(file, [&](const FileLock& held) {
    index_.reread(layer);
    if (layer.error && !isMissingFile(layer.error)) {
      throw std::system_error(layer.error, "cannot read " + pathToText(file));
    }
    if (layer.file == nullptr || layer.file->find(stanza) == nullptr) return false;
    if (!layer.file->isComplete()) throw std::runtime_error(pathToText(file) + ": " + kTooLarge);
    removeFrom(layer, stanza, held);
    return true;
  });
}

void ConfWriter::removeFrom(ConfIndex::Layer& layer, std::string_view stanza,
                            const FileLock& lock) {
  const auto text = removeStanzas(layer.file->bytes(), {std::string(stanza)}).text;
  replace(layer, std::make_unique<ConfFile>(parseText(layer.path, text)), lock);
}

}  // namespace sourcetype
