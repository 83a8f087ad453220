#include "conf/learned_stanzas.h"

#include <exception>
#include <stdexcept>
#include <string>

#include "conf/conf_file.h"
#include "conf/logical_lines.h"
#include "conf/store_log.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {

bool LearnedStanzas::write(std::string_view stanza, const PropertiesMap& settings) {
  try {
    const bool isAppended = locks_.underLock(
        file_, [&](const FileLock& held) { return append(stanza, settings, held); });
    if (isAppended) return true;
  } catch (const std::exception& error) {
    logError(kStoreLog, "Cannot write stanza [%s] of %s: %s", stanza, pathToText(file_),
             error.what());
    return false;
  }
  return writer_.write(file_, stanza, settings, true, [] { return true; }) == WriteOutcome::Written;
}

void LearnedStanzas::read() {
  const FileIdentity identity = storage_.identity(file_);
  if (known_ && known_->identity == identity) return;
  const FileBytes bytes = storage_.read(file_);
  if (bytes.error && !isMissingFile(bytes.error)) {
    throw std::system_error(bytes.error, "cannot read what it holds");
  }
  known_ = Known{.identity = identity, .stanzas = {}};
  TextKeeper keeper;
  LogicalLineReader reader(bytes.view(), file_, keeper, Report::No);
  for (LogicalLine line; reader.next(line);) {
    if (line.kind == LineKind::Header) known_->stanzas.emplace(line.name);
    if (line.kind == LineKind::Setting) ++known_->settings;
  }
  known_->endsInNewline = bytes.size == 0 || bytes.view().ends_with('\n');
}

// Appends a stanza after a blank line; false when the file already has the stanza. If a crash has
// left a line that ends in a backslash, the blank line is its continuation, and the header is not.
bool LearnedStanzas::append(std::string_view stanza, const PropertiesMap& settings,
                            const FileLock& lock) {
  read();
  if (known_->stanzas.contains(std::string(stanza))) return false;
  const std::size_t settingsAfter = known_->settings + settings.entries().size();
  const bool isFull = known_->stanzas.size() >= ConfFile::kMaxHeaders;
  if (isFull || settingsAfter > ConfFile::kMaxSettings) throw std::runtime_error(kTooLarge);
  std::string text(makeStanza(file_, stanza, settings, "\n").bytes());
  // Only if the record is written: reading all layers for each model takes longer with every model.
  if (kStoreLog.isEnabled(LogLevel::Debug)) {
    logSaving(file_, true, lookup_.settingsWithDefaults(stanza), settings);
  }
  if (known_->identity.size > 0) text.insert(0, "\n");
  if (!known_->endsInNewline) text.insert(0, "\n");
  lock.ensureHeld();
  storage_.append(file_, text);
  known_->identity = storage_.identity(file_);
  known_->stanzas.emplace(stanza);
  known_->settings = settingsAfter;
  known_->endsInNewline = true;
  index_.forget();
  logSaved(file_);
  return true;
}

LearnedStanzas::Dropped LearnedStanzas::drop(const StanzaNames& names, const StanzaNames& added) {
  if (names.empty()) return {};
  try {
    return locks_.underLock(
        file_, [&](const FileLock& held) { return dropUnderLock(names, added, held); });
  } catch (const std::runtime_error& failure) {  // a system call failed, or there is no tree
    logError(kStoreLog, "Cannot set aside what was learned before: %s", failure.what());
    const auto* const error = dynamic_cast<const std::system_error*>(&failure);
    const auto gone = std::make_error_code(std::errc::no_such_file_or_directory);
    return {.stanzas = 0, .copy = {}, .error = error != nullptr ? error->code() : gone};
  }
}

LearnedStanzas::Dropped LearnedStanzas::dropUnderLock(const StanzaNames& names,
                                                      const StanzaNames& added,
                                                      const FileLock& lock) {
  const FileBytes bytes = storage_.read(file_);
  if (bytes.error && !isMissingFile(bytes.error)) {
    throw std::system_error(bytes.error, "cannot read " + pathToText(file_));
  }
  const RemainingStanzas kept = removeStanzas(bytes.view(), names);
  if (kept.removed.empty()) return {};  // another process has dropped them
  const auto target = writeTarget(file_);
  const auto copy = this->copy();
  storage_.removeLeftovers(copy);
  storage_.replaceLike(target, copy, removeStanzas(bytes.view(), added).text, lock);
  // A link was made by an administrator: it stays, and its target is empty then.
  if (target != file_ || !kept.text.empty()) {
    storage_.replace(target, kept.text, lock);
  } else {
    lock.ensureHeld();
    storage_.remove(file_);
  }
  known_.reset();
  index_.forget();
  return {.stanzas = kept.removed.size(), .copy = copy, .error = {}};
}

std::filesystem::path LearnedStanzas::copy() const {
  auto copy = writeTarget(file_);
  copy += ".old";
  return copy;
}

std::size_t LearnedStanzas::restore() {
  return locks_.underLock(file_, [&](const FileLock& held) -> std::size_t {
    const auto readText = [&](const std::filesystem::path& file) {
      FileBytes bytes = storage_.read(file);
      if (bytes.error && !isMissingFile(bytes.error)) {
        throw std::system_error(bytes.error, "cannot read " + pathToText(file));
      }
      return bytes;
    };
    const FileBytes present = readText(file_);
    const FileBytes copied = readText(copy());
    StanzaNames names;
    const ConfFile before = parseText(file_, present.view());
    for (const auto& stanza : before.stanzas()) names.emplace(stanza.name);
    const auto missing = removeStanzas(copied.view(), names).text;
    const std::size_t count = parseText(file_, missing).stanzas().size();
    if (count == 0) return 0;

    std::string text(present.view());
    if (!text.empty()) text += text.ends_with('\n') ? "\n" : "\n\n";
    text += missing;
    if (!parseText(file_, text).isComplete()) {
      throw std::runtime_error(pathToText(file_) + ": " + kTooLarge);
    }
    storage_.replace(file_, text, held);
    known_.reset();
    index_.forget();
    return count;
  });
}

}  // namespace sourcetype
