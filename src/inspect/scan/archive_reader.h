// Reads the beginnings of compressed files, and of the members of archives:
//
//   ArchiveReader archive("logs.tar.gz");
//   while (const auto member = archive.next()) classify(member->name, member->text);
//
// Compression by gzip, xz, bzip2, zstd or lz4, and the archives tar (also compressed) and zip.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

struct archive;

namespace sourcetype {

// The bytes of a file that show what it is: the length of a tar header.
inline constexpr std::size_t kArchiveHeadBytes = 512;

// Whether a file that begins with `head` is compressed or an archive. Names do not count.
bool isArchive(std::string_view head);

// The name by which configuration knows the text of a member, or of a compressed file if `member`
// is empty: without the ending of the compression, and with the separators of the system.
std::filesystem::path nameInConfiguration(const std::filesystem::path& file,
                                          const std::string& member);

struct ArchiveMember {
  std::string name;  // empty for a compressed file that is no archive
  // Not more than a sample has: 20,000 lines or 20 MB.
  std::string text;
  bool isCut = false;  // there is more text
  // Why the rest cannot be read. `text` is what could be read before; libarchive decompresses
  // pieces of 64 kB, and an incomplete one is lost.
  std::string error;
};

class ArchiveReader {
 public:
  // An archive is read to this many bytes after decompression, and to this many members. So a small
  // file that expands without end takes seconds.
  static constexpr std::int64_t kMaxBytes = std::int64_t{1} << 30;
  static constexpr std::size_t kMaxMembers = 100'000;

  // Does not throw if the file cannot be opened: the first member has the error.
  explicit ArchiveReader(const std::filesystem::path& path);

  // The next regular file in the archive; nothing at the end. An error of the archive itself is in
  // the `error` of a last member.
  std::optional<ArchiveMember> next();

 private:
  struct Closer {
    void operator()(archive* opened) const;
  };

  bool takeRest();
  void readText(ArchiveMember& member);
  ArchiveMember fail(std::string error);
  std::string rawFault(std::string_view text) const;
  std::string faultText() const;

  std::unique_ptr<archive, Closer> archive_;
  std::filesystem::path path_;
  std::uint64_t fileBytes_ = 0;
  std::size_t memberCount_ = 0;
  bool hasOpened_ = false;
  bool hasEnded_ = false;
  bool hasEntries_ = false;
};

}  // namespace sourcetype
