// Writes stanzas of one configuration: locks the file, verifies the new text, then appends to the
// file or replaces it.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "conf/conf_file.h"
#include "conf/conf_index.h"
#include "conf/conf_lookup.h"
#include "conf/conf_storage.h"
#include "conf/properties_map.h"
#include "conf/write_locks.h"
#include "platform/file_identity.h"
#include "platform/file_lock.h"

namespace sourcetype {

// The result of a write with a condition. Overtaken: the condition is no longer true, because
// another process has written. Then nothing was written, and the next lookup sees the new state.
enum class WriteOutcome { Written, Failed, Overtaken };

class ConfWriter {
 public:
  ConfWriter(ConfIndex& index, ConfLookup& lookup, WriteLocks& locks, ConfStorage& storage)
      : index_(index), lookup_(lookup), locks_(locks), storage_(storage) {}

  // As ConfStore::writeStanzaIf(), to `file`, which is the file of a layer.
  using Condition = std::function<bool()>;
  WriteOutcome write(const std::filesystem::path& file, std::string_view stanza,
                     const PropertiesMap& settings, bool overwriteAll, const Condition& stillHolds);

  // As ConfStore::takeBackStanza(), from `file`.
  void takeBack(const std::filesystem::path& file, std::string_view stanza);

  // As ConfStore::removeStanza(), from `file`.
  bool remove(const std::filesystem::path& file, std::string_view stanza);

 private:
  // The stanza that this object added last.
  struct Addition {
    std::string stanza;
    PropertiesMap settings;
    FileIdentity before;  // the file's, before the write
    FileIdentity after;   // and after it
  };

  void edit(ConfIndex::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
            const FileLock& lock);
  bool append(ConfIndex::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
              const FileLock& lock);
  void removeFrom(ConfIndex::Layer& layer, std::string_view stanza, const FileLock& lock);
  bool canAppend(const ConfIndex::Layer& layer, std::string_view stanza);
  void replace(ConfIndex::Layer& layer, std::unique_ptr<ConfFile> file, const FileLock& lock);

  ConfIndex& index_;
  ConfLookup& lookup_;
  WriteLocks& locks_;
  ConfStorage& storage_;
  std::optional<Addition> addition_;
};

}  // namespace sourcetype
