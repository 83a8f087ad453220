// Keeps the edits of a store in memory, so that they can be shown before anything is written:
//
//   MemoryStorage edits;
//   ConfStore store(home / "etc", edits);
//   FileClassifierManager(store).findTypeForFile(result, {.path = log});
//   for (const auto& [file, content] : edits.changes()) show(file, content);
//
// A store with this storage sees its own edits, and the disk where it has made none. It creates no
// lock file and needs no right to write.
#pragma once

#include <map>
#include <optional>
#include <string>

#include "conf/conf_storage.h"

namespace sourcetype {

// Not safe from several threads by itself; one store calls it under the mutex of the store.
class MemoryStorage final : public ConfStorage {
 public:
  // The new content of each changed file; nothing for a file that was removed. The paths are those
  // that a write would change: symbolic links are followed.
  using Changes = std::map<std::filesystem::path, std::optional<std::string>>;
  const Changes& changes() const { return changes_; }

  // Forgets all edits. A store has then to reload() what it has read.
  void discard();

  FileBytes read(const std::filesystem::path& file) override;
  FileIdentity identity(const std::filesystem::path& file) override;
  FileLock lock(const std::filesystem::path& target, std::chrono::milliseconds maxHold) override;
  void removeLeftovers(const std::filesystem::path& target) override;
  void replace(const std::filesystem::path& file, std::string_view content,
               const FileLock& lock) override;
  void replaceLike(const std::filesystem::path& model, const std::filesystem::path& file,
                   std::string_view content, const FileLock& lock) override;
  void append(const std::filesystem::path& file, std::string_view content) override;
  bool append(const std::filesystem::path& file, const DecisiveText& text,
              const FileLock& lock) override;
  void cut(const std::filesystem::path& file, std::uint64_t size) override;
  void remove(const std::filesystem::path& file) override;

 private:
  Changes::iterator find(const std::filesystem::path& file);
  std::optional<std::string>& change(const std::filesystem::path& file);
  std::string& edit(const std::filesystem::path& file);

  Changes changes_;
  std::uint64_t version_ = 0;  // grows with each edit
  std::map<std::filesystem::path, std::uint64_t> versions_;
};

}  // namespace sourcetype
