#include "inspect/scan/archive_reader.h"

#include <archive.h>
#include <archive_entry.h>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <new>
#include <span>
#include <type_traits>

#include "classifier/sample.h"
#include "classifier/type_request.h"
#include "inspect/scan/gzip_trailer.h"
#include "platform/file_system.h"
#include "platform/interrupt.h"
#include "platform/path_form.h"
#include "platform/utf8_locale.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using namespace std::string_view_literals;

// The first bytes of each kind but tar.
constexpr std::array kMagics{
    "\x1F\x8B"sv,                         // gzip
    "\xFD\x37zXZ\0"sv,                    // xz
    "\x28\xB5\x2F\xFD"sv,                 // zstd
    "\x04\x22\x4D\x18"sv,                 // lz4
    "PK\x03\x04"sv,       "PK\x05\x06"sv  // zip, empty zip
};

// After "BZh" and a digit: the start of a block (the digits of pi) or of the end.
constexpr std::array kBzip2Blocks{"1AY&SY"sv, "\x17\x72\x45\x38\x50\x90"sv};

bool isBzip2(std::string_view head) {
  return head.size() >= 10 && head.starts_with("BZh") && isAsciiDigit(head[3]) &&
         std::ranges::find(kBzip2Blocks, head.substr(4, 6)) != kBzip2Blocks.end();
}

// A tar header contains the sum of its bytes, where the sum itself counts as blanks. The oldest tars
// have no other mark.
bool isTar(std::string_view head) {
  constexpr std::size_t kSumOffset = 148;
  constexpr std::size_t kSumBytes = 8;
  if (head.size() < kArchiveHeadBytes || head.front() == '\0') return false;
  unsigned sum = 0;
  for (std::size_t i = 0; i < kArchiveHeadBytes; ++i) {
    const bool isInSum = i >= kSumOffset && i < kSumOffset + kSumBytes;
    sum += static_cast<unsigned char>(isInSum ? ' ' : head[i]);
  }
  const auto field = trim(head.substr(kSumOffset, kSumBytes), " \0"sv);
  unsigned stored = 0;
  for (const char digit : field) {
    if (digit < '0' || digit > '7') return false;
    stored = stored * 8 + static_cast<unsigned>(digit - '0');
  }
  return !field.empty() && stored == sum;
}

// Opens by the native form of the name: on Windows that is UTF-16.
template <class Char>
int openByName(archive* opened, const Char* name) {
  constexpr std::size_t kBlockBytes = 1U << 16U;  // of one read
  if constexpr (std::is_same_v<Char, wchar_t>) {
    return archive_read_open_filename_w(opened, name, kBlockBytes);
  } else {
    return archive_read_open_filename(opened, name, kBlockBytes);
  }
}

std::string nameOf(archive_entry* entry, std::size_t number) {
  if (const char* name = archive_entry_pathname_utf8(entry)) return name;
  if (const char* name = archive_entry_pathname(entry)) return name;  // it is not UTF-8
  return "member " + std::to_string(number);
}

}  // namespace

bool isArchive(std::string_view head) {
  return std::ranges::any_of(kMagics, [&](auto magic) { return head.starts_with(magic); }) ||
         isBzip2(head) || isTar(head);
}

std::filesystem::path nameInConfiguration(const std::filesystem::path& file,
                                          const std::string& member) {
  static constexpr std::array kSuffixes{".gz", ".xz", ".bz2", ".zst", ".lz4"};
  if (member.empty()) {
    const bool isSuffix = std::ranges::find(kSuffixes, file.extension()) != kSuffixes.end();
    return isSuffix ? std::filesystem::path(file).replace_extension() : file;
  }
  auto name = file / pathFromText(member).relative_path();
  return name.make_preferred();  // archives have "/" on every system
}

void ArchiveReader::Closer::operator()(archive* opened) const {
  archive_read_free(opened);
}

ArchiveReader::ArchiveReader(const std::filesystem::path& path)
    : archive_(archive_read_new()), path_(path) {
  if (!archive_) throw std::bad_alloc();
  archive* const opened = archive_.get();
  archive_read_support_filter_gzip(opened);
  archive_read_support_filter_xz(opened);
  archive_read_support_filter_bzip2(opened);
  archive_read_support_filter_zstd(opened);
  archive_read_support_filter_lz4(opened);
  archive_read_support_format_tar(opened);
  archive_read_support_format_zip(opened);
  archive_read_support_format_raw(opened);    // anything else is text
  archive_read_support_format_empty(opened);  // also no text
  hasOpened_ = openByName(opened, path.c_str()) == ARCHIVE_OK;
  fileBytes_ = fileIdentity(path).size;
}

std::optional<ArchiveMember> ArchiveReader::next() {
  const Utf8Locale names;
  if (hasEnded_) return std::nullopt;
  if (!hasOpened_) return fail(faultText());
  while (true) {
    if (hasEntries_ && !takeRest()) {
      return fail("the rest of the archive was not read: it has more than 1 GiB");
    }
    if (hasEnded_) return std::nullopt;
    archive_entry* entry = nullptr;
    const int status = archive_read_next_header(archive_.get(), &entry);
    const bool isRaw = archive_format(archive_.get()) == ARCHIVE_FORMAT_RAW;
    if (status == ARCHIVE_EOF) {
      hasEnded_ = true;
      const bool isEmptyText =
          !hasEntries_ && archive_format(archive_.get()) == ARCHIVE_FORMAT_EMPTY;
      return isEmptyText ? std::optional(ArchiveMember{}) : std::nullopt;
    }
    if (status == ARCHIVE_FATAL || entry == nullptr) return fail(faultText());
    hasEntries_ = true;
    if (++memberCount_ > kMaxMembers) {
      return fail("the rest of the archive was not read: it has more than 100000 members");
    }
    if (!isRaw && archive_entry_filetype(entry) != AE_IFREG) continue;
    ArchiveMember member;
    if (!isRaw) member.name = nameOf(entry, memberCount_);
    if (archive_entry_hardlink(entry) != nullptr) continue;  // its text is that of another member
    if (status < ARCHIVE_WARN) {
      member.error = faultText();
    } else {
      readText(member);
    }
    hasEnded_ = hasEnded_ || isRaw;
    return member;
  }
}

// Passes over the text of the last member. Returns false if it is too long.
bool ArchiveReader::takeRest() {
  archive* const opened = archive_.get();
  // The text of a zip's members is passed over without reading.
  if ((archive_format(opened) & ARCHIVE_FORMAT_BASE_MASK) == ARCHIVE_FORMAT_ZIP) {
    archive_read_data_skip(opened);
    return true;
  }
  const void* block = nullptr;
  std::size_t size = 0;
  la_int64_t offset = 0;
  while (!hasEnded_ && archive_read_data_block(opened, &block, &size, &offset) == ARCHIVE_OK) {
    if (archive_filter_bytes(opened, 0) > kMaxBytes) return false;
    hasEnded_ = interrupted();
  }
  return true;
}

void ArchiveReader::readText(ArchiveMember& member) {
  // As sample.cpp reads: the limits are tested after each piece.
  constexpr std::size_t kPieceBytes = 10'000;
  std::array<char, kPieceBytes> piece;
  std::uint64_t lines = 0;
  while (true) {
    const auto count = archive_read_data(archive_.get(), piece.data(), piece.size());
    if (count == 0) {
      if (archive_format(archive_.get()) == ARCHIVE_FORMAT_RAW)
        member.error = rawFault(member.text);
      return;
    }
    if (count < 0) {
      member.error = faultText();
      hasEnded_ = count == ARCHIVE_FATAL;
      return;
    }
    const auto bytes = std::span(piece).first(static_cast<std::size_t>(count));
    member.text.append(bytes.data(), bytes.size());
    lines += static_cast<std::uint64_t>(std::ranges::count(bytes, '\n'));
    if (lines >= kDefaultMaxLines || member.text.size() > kDefaultMaxLines * kBytesPerLine) {
      member.isCut = true;
      return;
    }
  }
}

ArchiveMember ArchiveReader::fail(std::string error) {
  hasEnded_ = true;
  return {.name = {}, .text = {}, .isCut = false, .error = std::move(error)};
}

// What is wrong with a compressed file that was read to its end without a fault.
std::string ArchiveReader::rawFault(std::string_view text) const {
  archive* const opened = archive_.get();
  const auto read = static_cast<std::uint64_t>(archive_filter_bytes(opened, -1));
  if (read < fileBytes_) {
    return fmt::format("damaged: {} bytes after the end of the text", fileBytes_ - read);
  }
  constexpr int kGzipAlone = 2;  // the decompression, and the reading of the file
  const bool isGzip = archive_filter_count(opened) == kGzipAlone &&
                      archive_filter_code(opened, 0) == ARCHIVE_FILTER_GZIP;
  return isGzip ? gzipFault(path_, text) : "";
}

std::string ArchiveReader::faultText() const {
  const char* const text = archive_error_string(archive_.get());
  return text == nullptr ? "damaged archive" : text;
}

}  // namespace sourcetype
