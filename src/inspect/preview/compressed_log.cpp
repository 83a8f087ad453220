#include "inspect/preview/compressed_log.h"

#include <array>
#include <string_view>
#include <utility>

#include "inspect/scan/archive_reader.h"
#include "inspect/session.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

bool isArchiveFile(const path& file) {
  if (fileKind(file) != FileKind::Regular) return false;
  std::array<char, kArchiveHeadBytes> head;
  InputFile opened(file);
  return isArchive({head.data(), opened.read(head)});
}

CompressedLog logOf(const path& file, ArchiveMember member) {
  return {.path = nameInConfiguration(file, member.name),
          .bytes = {.bytes = std::move(member.text), .isWhole = !member.isCut},
          .error = std::move(member.error)};
}

CompressedLog readMember(const std::string& file, std::string_view name) {
  ArchiveReader archive(pathFromText(file));
  while (auto member = archive.next()) {
    if (member->name == name) return logOf(pathFromText(file), std::move(*member));
  }
  throw InspectError(file + " has no member " + std::string(name));
}

CompressedLog readOnlyMember(const std::string& file) {
  ArchiveReader archive(pathFromText(file));
  auto first = archive.next();
  if (!first) throw InspectError(file + " is empty");
  if (archive.next()) {
    throw InspectError(file + " has several members; name one as in " + file + "!" + first->name);
  }
  return logOf(pathFromText(file), std::move(*first));
}

}  // namespace

std::optional<CompressedLog> readCompressedLog(const std::string& word) {
  if (isArchiveFile(pathFromText(word))) return readOnlyMember(word);
  for (auto end = word.find('!'); end != std::string::npos; end = word.find('!', end + 1)) {
    const auto file = word.substr(0, end);
    if (isArchiveFile(pathFromText(file))) return readMember(file, word.substr(end + 1));
  }
  return std::nullopt;
}

}  // namespace sourcetype
