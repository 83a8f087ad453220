// Writes stanzas of one configuration: appends or replaces under the lock of the file, and verifies
// the result before the file is touched.
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
#include "conf/properties_map.h"
#include "conf/write_locks.h"
#include "platform/file_lock.h"
#include "platform/file_system.h"

namespace sourcetype {

// What became of a write that was decided on by what other stanzas say. Overtaken: another process
// has written meanwhile, so that nothing was written now; the configuration is read anew.
enum class WriteOutcome { Written, Failed, Overtaken };

class ConfWriter {
 public:
  ConfWriter(ConfIndex& index, ConfLookup& lookup, WriteLocks& locks)
      : index_(index), lookup_(lookup), locks_(locks) {}

  // Makes `settings` the effective settings of the stanza, if `stillHolds` says so while no other
  // process can write: writes those that differ (with `overwriteAll`, every one) to `file`, which
  // belongs to a layer. A failure is logged and leaves the file as it was.
  using Condition = std::function<bool()>;
  WriteOutcome write(const std::filesystem::path& file, std::string_view stanza,
                     const PropertiesMap& settings, bool overwriteAll, const Condition& stillHolds);

  // Removes the stanza from `file` when it is the last one that this object has added, and has just
  // what was written. A failure is logged.
  void takeBack(const std::filesystem::path& file, std::string_view stanza);

 private:
  // The stanza that was added last.
  struct Addition {
    std::string stanza;
    PropertiesMap settings;
    FileIdentity before;  // of the file
    FileIdentity after;
  };

  void edit(ConfIndex::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
            const FileLock& lock);
  bool append(ConfIndex::Layer& layer, std::string_view stanza, const PropertiesMap& changes,
              const FileLock& lock);
  bool canAppend(const ConfIndex::Layer& layer, std::string_view stanza);
  void replace(ConfIndex::Layer& layer, std::unique_ptr<ConfFile> file, const FileLock& lock);

  ConfIndex& index_;
  ConfLookup& lookup_;
  WriteLocks& locks_;
  std::optional<Addition> addition_;
};

}  // namespace sourcetype
