// The part that is the same on every system.
#include "platform/file_writing.h"

#include "platform/file_system.h"
#include "platform/temporary_name.h"

namespace sourcetype {

void replaceFile(const std::filesystem::path& target, std::string_view content,
                 const FileLock* lock) {
  replaceFile(target, content, writeTarget(target), lock);
}

// A file that cannot be listed or deleted does no harm.
void removeLeftovers(const std::filesystem::path& target) {
  const std::filesystem::path file = writeTarget(target);
  const std::filesystem::path directory = directoryOf(file);
  std::error_code error;
  for (const auto& name : listDirectory(directory, error)) {
    if (isTemporaryName(name, file.filename())) static_cast<void>(removeFile(directory / name));
  }
}

}  // namespace sourcetype
