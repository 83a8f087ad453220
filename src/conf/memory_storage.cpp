#include "conf/memory_storage.h"

#include <algorithm>
#include <memory>
#include <system_error>

#include "conf/conf_file.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

FileBytes bytesOf(const std::string& content) {
  FileBytes file{.bytes = std::make_unique_for_overwrite<char[]>(content.size()),  // NOLINT
                 .size = content.size(),
                 .error = {}};
  std::ranges::copy(content, file.bytes.get());
  return file;
}

}  // namespace

void MemoryStorage::discard() {
  changes_.clear();
  versions_.clear();
}

// The change of a file that was written under this path, or under one that leads to it.
MemoryStorage::Changes::iterator MemoryStorage::find(const path& file) {
  if (changes_.empty()) return changes_.end();
  const auto found = changes_.find(file);
  return found != changes_.end() ? found : changes_.find(writeTarget(file));
}

std::optional<std::string>& MemoryStorage::change(const path& file) {
  const path target = writeTarget(file);
  versions_[target] = ++version_;
  return changes_[target];
}

// The content of a file, to be changed. A missing file is empty.
std::string& MemoryStorage::edit(const path& file) {
  const FileBytes before = read(file);
  if (before.error && !isMissingFile(before.error)) {
    throw std::system_error(before.error, "cannot read what it holds");
  }
  std::string content(before.view());
  return change(file).emplace(std::move(content));
}

FileBytes MemoryStorage::read(const path& file) {
  const auto found = find(file);
  if (found == changes_.end()) return readConfFile(file);
  if (found->second) return bytesOf(*found->second);
  FileBytes missing;
  missing.error = std::make_error_code(std::errc::no_such_file_or_directory);
  return missing;
}

FileIdentity MemoryStorage::identity(const path& file) {
  const auto found = find(file);
  if (found == changes_.end()) return fileIdentity(file);
  if (!found->second) return {};
  return {.device = ~std::uint64_t{0},  // no version on the disk has it
          .number = 1,
          .size = found->second->size(),
          .modified = static_cast<std::int64_t>(versions_[found->first])};
}

FileLock MemoryStorage::lock(const path& /*target*/, std::chrono::milliseconds /*maxHold*/) {
  return {};
}

void MemoryStorage::removeLeftovers(const path& /*target*/) {}

void MemoryStorage::replace(const path& file, std::string_view content, const FileLock& /*lock*/) {
  change(file) = content;
}

void MemoryStorage::replaceLike(const path& /*model*/, const path& file, std::string_view content,
                                const FileLock& lock) {
  replace(file, content, lock);
}

void MemoryStorage::append(const path& file, std::string_view content) {
  edit(file).append(content);
}

bool MemoryStorage::append(const path& file, const DecisiveText& text, const FileLock& /*lock*/) {
  append(file, text.content);
  return true;
}

void MemoryStorage::cut(const path& file, std::uint64_t size) {
  edit(file).resize(size);
}

void MemoryStorage::remove(const path& file) {
  change(file).reset();
}

}  // namespace sourcetype
