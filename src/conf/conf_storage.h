// The files of a configuration tree as a ConfStore reads and writes them: on the disk, or with
// edits that stay in memory (conf/memory_storage.h).
#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <string_view>

#include "platform/file_identity.h"
#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"

namespace sourcetype {

// Failures throw std::system_error with the path in its text, but for those of read().
class ConfStorage {
 public:
  ConfStorage() = default;
  ConfStorage(const ConfStorage&) = delete;
  ConfStorage& operator=(const ConfStorage&) = delete;
  virtual ~ConfStorage() = default;

  // As readConfFile().
  virtual FileBytes read(const std::filesystem::path& file) = 0;
  // As fileIdentity(): two versions of a file never compare equal.
  virtual FileIdentity identity(const std::filesystem::path& file) = 0;

  // Locks the file `target`, the result of writeTarget(), as FileLock does.
  virtual FileLock lock(const std::filesystem::path& target, std::chrono::milliseconds maxHold) = 0;

  // The functions below are for the holder of the lock, and do what the functions of
  // platform/file_writing.h do.
  virtual void removeLeftovers(const std::filesystem::path& target) = 0;
  virtual void replace(const std::filesystem::path& file, std::string_view content,
                       const FileLock& lock) = 0;
  virtual void replaceLike(const std::filesystem::path& model, const std::filesystem::path& file,
                           std::string_view content, const FileLock& lock) = 0;
  virtual void append(const std::filesystem::path& file, std::string_view content) = 0;
  virtual bool append(const std::filesystem::path& file, const DecisiveText& text,
                      const FileLock& lock) = 0;
  virtual void cut(const std::filesystem::path& file, std::uint64_t size) = 0;
  virtual void remove(const std::filesystem::path& file) = 0;
};

// The disk. The object has no state and serves every store.
ConfStorage& diskStorage();

}  // namespace sourcetype
