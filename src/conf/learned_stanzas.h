// The file of learned stanzas of one configuration: etc/apps/learned/local/sourcetypes.conf. It may
// have thousands of models, so a new stanza is appended without parsing the layers.
#pragma once

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "conf/conf_edit.h"
#include "conf/conf_index.h"
#include "conf/conf_lookup.h"
#include "conf/conf_storage.h"
#include "conf/conf_writer.h"
#include "conf/properties_map.h"
#include "conf/write_locks.h"
#include "platform/file_identity.h"
#include "platform/file_lock.h"

namespace sourcetype {

class LearnedStanzas {
 public:
  LearnedStanzas(std::filesystem::path file, ConfIndex& index, ConfLookup& lookup,
                 ConfWriter& writer, WriteLocks& locks, ConfStorage& storage)
      : file_(std::move(file)),
        index_(index),
        lookup_(lookup),
        writer_(writer),
        locks_(locks),
        storage_(storage) {}

  const std::filesystem::path& file() const { return file_; }
  // "<file>.old". If a link leads to the file, the copy is beside the target of the link: on the
  // disk and in the directory that the administrator chose, and under the same lock.
  std::filesystem::path copy() const;

  // As ConfStore::writeLearnedStanza().
  bool write(std::string_view stanza, const PropertiesMap& settings);

  // As ConfStore::dropLearnedStanzas().
  struct Dropped {
    std::size_t stanzas = 0;
    std::filesystem::path copy;  // "<file>.old"; empty when nothing was written
    std::error_code error;       // if set, no stanza was dropped, and the reason was logged
  };
  Dropped drop(const StanzaNames& names, const StanzaNames& added);

  // As ConfStore::restoreLearnedStanzas().
  std::size_t restore();

 private:
  // What an append has to know of the file, so that it need not read the file again.
  struct Known {
    FileIdentity identity;
    StanzaNames stanzas;
    std::size_t settings = 0;
    bool endsInNewline = true;
  };

  // Reads the file again if it has changed.
  void read();
  bool append(std::string_view stanza, const PropertiesMap& settings, const FileLock& lock);
  Dropped dropUnderLock(const StanzaNames& names, const StanzaNames& added, const FileLock& lock);

  std::filesystem::path file_;
  ConfIndex& index_;
  ConfLookup& lookup_;
  ConfWriter& writer_;
  WriteLocks& locks_;
  ConfStorage& storage_;
  std::optional<Known> known_;
};

}  // namespace sourcetype
