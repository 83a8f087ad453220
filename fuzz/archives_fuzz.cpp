// The beginnings of compressed files and of the members of archives. Input: a file.
#include <archive.h>
#include <archive_entry.h>

#include <array>
#include <cstdio>
#include <memory>
#include <optional>

#include "inspect/scan/archive_reader.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

// More than a sample has, by the piece that reaches the limit.
constexpr std::size_t kMaxText = 20'020'000;

using Format = int (*)(archive*);

// Two members, or the text alone, in a format and a compression.
std::string packed(Format format, Format filter, std::string_view text) {
  std::array<char, 1 << 16> buffer;
  std::size_t used = 0;
  const std::unique_ptr<archive, decltype(&archive_write_free)> file(archive_write_new(),
                                                                     archive_write_free);
  format(file.get());
  filter(file.get());
  archive_write_set_bytes_in_last_block(file.get(), 1);
  require(archive_write_open_memory(file.get(), buffer.data(), buffer.size(), &used) == ARCHIVE_OK,
          "a seed can be made");
  for (const char* name : {"a.log", "directory/b.log"}) {
    archive_entry* entry = archive_entry_new();
    archive_entry_set_pathname(entry, name);
    archive_entry_set_filetype(entry, AE_IFREG);
    archive_entry_set_size(entry, static_cast<la_int64_t>(text.size()));
    archive_write_header(file.get(), entry);
    archive_write_data(file.get(), text.data(), text.size());
    archive_entry_free(entry);
    if (format == archive_write_set_format_raw) break;
  }
  archive_write_close(file.get());
  return {buffer.data(), used};
}

std::vector<ArchiveMember> membersOf(const std::filesystem::path& file) {
  std::vector<ArchiveMember> members;
  ArchiveReader archive(file);
  while (auto member = archive.next()) {
    require(member->text.size() <= kMaxText, "a member has no more text than a sample");
    require(!member->isCut || member->error.empty(), "a text that is cut was read without a fault");
    members.push_back(std::move(*member));
    require(members.size() <= ArchiveReader::kMaxMembers + 1, "an archive ends");
  }
  require(!archive.next(), "nothing comes after the end");
  return members;
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  const std::string text = "2026-01-02 03:04:05 one\n2026-01-02 03:04:06 two\n";
  for (const Format filter : {archive_write_add_filter_none, archive_write_add_filter_gzip,
                              archive_write_add_filter_xz, archive_write_add_filter_bzip2,
                              archive_write_add_filter_zstd, archive_write_add_filter_lz4}) {
    inputs.push_back(packed(archive_write_set_format_raw, filter, text));
    inputs.push_back(packed(archive_write_set_format_ustar, filter, text));
  }
  inputs.push_back(packed(archive_write_set_format_zip, archive_write_add_filter_none, text));
  inputs.push_back(packed(archive_write_set_format_gnutar, archive_write_add_filter_none, text));
  return inputs;
}

void run(std::string_view input) {
  if (!isArchive(input.substr(0, kArchiveHeadBytes))) return;
  const auto file = tree().write("file", input);
  const auto members = membersOf(file);
  const auto again = membersOf(file);
  require(members.size() == again.size(), "the same file has the same members");
  for (std::size_t i = 0; i < members.size(); ++i) {
    require(members[i].text == again[i].text && members[i].error == again[i].error,
            "the same member has the same text");
  }
}

}  // namespace sourcetype::fuzzing
