#include "inspect/changes.h"

#include <algorithm>
#include <system_error>

#include "conf/conf_file.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {

std::vector<FileChange> changesOf(const MemoryStorage& edits) {
  std::vector<FileChange> changes;
  for (const auto& [file, content] : edits.changes()) {
    const FileBytes before = readFile(file, ConfFile::kMaxBytes);
    const bool existed = !isMissingFile(before.error);
    if (existed && before.error) throw std::system_error(before.error, pathToText(file));
    const bool isSame = existed == content.has_value() && before.view() == content.value_or("");
    if (isSame) continue;
    changes.push_back({.file = file,
                       .existed = existed,
                       .exists = content.has_value(),
                       .before = std::string(before.view()),
                       .after = content.value_or("")});
  }
  return changes;
}

std::string nameBelow(const std::filesystem::path& home, const FileChange& change) {
  const auto below = change.file.lexically_relative(home);
  const bool isBelow = !below.empty() && *below.begin() != "..";
  std::string name = pathToText(isBelow ? below : change.file);
  std::ranges::replace(name, static_cast<char>(std::filesystem::path::preferred_separator), '/');
  return name;
}

}  // namespace sourcetype
