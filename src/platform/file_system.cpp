// The part that is the same on every system.
#include "platform/file_system.h"

#include <algorithm>

namespace sourcetype {

FileBytes readFile(const std::filesystem::path& path, std::size_t maxBytes) {
  FileBytes result;
  InputFile file(path);
  const auto examine = [&](std::uint64_t size) {
    result.error = file.error();
    if (!result.error && size > maxBytes) {
      result.error = std::make_error_code(std::errc::file_too_large);
    }
  };
  examine(file.size());
  // Room for one byte more than the size shows whether the file grew meanwhile.
  std::size_t capacity = static_cast<std::size_t>(file.size()) + 1;
  while (!result.error) {
    auto larger = std::make_unique_for_overwrite<char[]>(capacity);  // NOLINT: as the member
    std::copy_n(result.bytes.get(), result.size, larger.get());
    result.bytes = std::move(larger);
    result.size += file.read({result.bytes.get() + result.size, capacity - result.size});
    examine(result.size);
    if (result.size < capacity && !result.error) return result;
    capacity = std::min(capacity * 2, maxBytes + 1);
  }
  result.bytes.reset();
  result.size = 0;
  return result;
}

std::filesystem::path absolutePath(const std::filesystem::path& path) {
  std::error_code error;
  const auto absolute = std::filesystem::absolute(path, error);
  return error ? path : absolute;
}

std::filesystem::path directoryOf(const std::filesystem::path& path) {
  return path.has_parent_path() ? path.parent_path() : ".";
}

}  // namespace sourcetype
