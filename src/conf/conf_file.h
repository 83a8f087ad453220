// One .conf file as lookups see it.
#pragma once

#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <span>
#include <string_view>
#include <system_error>
#include <vector>

#include "conf/logical_lines.h"
#include "platform/file_system.h"

namespace sourcetype {

// Encodings that a .conf file may have and that are not read, as error codes. Their message() says
// what the file is and what to do.
enum class ConfEncoding { Utf16 = 1, Utf32 };
// The name by which the standard library finds it.
std::error_code make_error_code(ConfEncoding encoding);  // NOLINT(readability-identifier-naming)

// Set when `bytes` are text in such an encoding: they begin with its byte-order mark, or some of
// them have the form that ASCII characters have in UTF-16.
std::error_code findEncodingError(std::string_view bytes);

// True for the errors of findEncodingError().
bool isEncodingError(std::error_code error);

// A parsed file: its bytes and views into them. Within one file a header that occurs again adds to
// its stanza, and the last value of a key is the one that counts. Moves, does not copy.
class ConfFile {
 public:
  // A key and its value, which stands not far behind it in the same text: a store of models has
  // millions of these.
  class Setting {
   public:
    Setting(std::string_view key, std::string_view value)
        : key_(key.data()),
          keySize_(static_cast<std::uint16_t>(key.size())),
          gap_(static_cast<std::uint16_t>(value.data() - (key.data() + key.size()))),
          valueSize_(static_cast<std::uint32_t>(value.size())) {}

    std::string_view key() const { return {key_, keySize_}; }
    std::string_view value() const { return {key_ + keySize_ + gap_, valueSize_}; }

   private:
    const char* key_;
    std::uint16_t keySize_;
    std::uint16_t gap_;  // bytes between key and value
    std::uint32_t valueSize_;
  };

  // A file of more bytes is none: sizes within it have 32 bits.
  static constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

  // These limits keep the memory of a parsed file at a few times its size. 1,000 models of 2,000
  // settings each use half of kMaxSettings. Reading stops at the first setting or header beyond its
  // limit; of a stanza with too many settings the last keys are left out.
  static constexpr std::size_t kMaxSettings = 4'000'000;
  static constexpr std::size_t kMaxHeaders = 1'000'000;
  // Each lookup copies the settings of a stanza. A learned model has 2,003 at most.
  static constexpr std::size_t kMaxStanzaSettings = 200'000;

  struct Stanza {
    std::string_view name;
    std::span<const Setting> settings;  // in ascending byte order of the keys

    // Nothing when the stanza lacks the key.
    const Setting* find(std::string_view key) const;
  };

  // `bytes` are at most kMaxBytes.
  ConfFile(std::filesystem::path path, FileBytes bytes, Report report = Report::Yes);

  // The file as it was read.
  std::string_view bytes() const { return bytes_.view(); }
  const std::filesystem::path& path() const { return path_; }
  // In ascending byte order of the names.
  std::span<const Stanza> stanzas() const { return stanzas_; }
  const Stanza* find(std::string_view name) const;
  // False when the file exceeds a limit, which is logged with what is left out. Such a file must
  // not be written anew from what was read of it.
  bool isComplete() const { return isComplete_; }

 private:
  struct Block;

  std::vector<Block> readLines(Report report);
  void addStanza(std::string_view name, std::span<Setting> settings, Report report);

  std::filesystem::path path_;
  FileBytes bytes_;
  TextKeeper keeper_;
  std::vector<Setting> settings_;            // as they stand in the file
  std::deque<std::vector<Setting>> joined_;  // those of stanzas that have several headers
  std::vector<Stanza> stanzas_;
  bool isComplete_ = true;
};

// The bytes of a .conf file, or why they cannot be had: what readFile() says of more than
// ConfFile::kMaxBytes, or findEncodingError() of the content.
FileBytes readConfFile(const std::filesystem::path& path);

}  // namespace sourcetype

template <>
struct std::is_error_code_enum<sourcetype::ConfEncoding> : std::true_type {};
