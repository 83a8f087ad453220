// One .conf file, parsed for lookups. (ini_file.h parses a file for edits.)
//
//   const ConfFile file(path, readConfFile(path));
//   if (const auto* stanza = file.find("syslog")) use(stanza->settings);
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <span>
#include <string_view>
#include <system_error>
#include <type_traits>
#include <vector>

#include "conf/logical_lines.h"
#include "platform/file_system.h"

namespace sourcetype {

// Error codes for encodings of .conf files that are not supported. The message() names the encoding
// and says what to do.
enum class ConfEncoding { Utf16 = 1, Utf32 };
// The standard library requires this name.
std::error_code make_error_code(ConfEncoding encoding);  // NOLINT(readability-identifier-naming)

// The encoding of `bytes` if it is not supported: they begin with its byte-order mark, or contain a
// run of ASCII characters in UTF-16. Else no error.
std::error_code findEncodingError(std::string_view bytes);

// True for the errors of findEncodingError().
bool isEncodingError(std::error_code error);

// A parsed file: its bytes and views into them. When a file has several headers of the same name,
// their settings make up one stanza. When a stanza has several values of a key, the last one
// counts. Moves, does not copy.
class ConfFile {
 public:
  // A key and its value. The value is at most kMaxGapBytes after the key in the same text. The
  // object is small because a store of models has millions of settings.
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

  // A larger file is not read: sizes within a file have 32 bits.
  static constexpr std::size_t kMaxBytes = std::size_t{1} << 30;

  // Limits that keep the memory of a parsed file at a few times its size. 1,000 models of 2,000
  // settings each use half of kMaxSettings. Reading stops at the first setting or header over its
  // limit. A stanza with too many settings loses the last ones in the order of their keys.
  static constexpr std::size_t kMaxSettings = 4'000'000;
  static constexpr std::size_t kMaxHeaders = 1'000'000;
  // Each lookup copies the settings of a stanza. A learned model has at most 2,003.
  static constexpr std::size_t kMaxStanzaSettings = 200'000;

  struct Stanza {
    std::string_view name;
    std::span<const Setting> settings;  // in ascending byte order of the keys

    // Null when the stanza does not have the key.
    const Setting* find(std::string_view key) const;
  };

  // `bytes` has at most kMaxBytes. `path` is for messages and path().
  ConfFile(std::filesystem::path path, FileBytes bytes, Report report = Report::Yes);

  // The content of the file as it was read.
  std::string_view bytes() const { return bytes_.view(); }
  const std::filesystem::path& path() const { return path_; }
  // In ascending byte order of the names.
  std::span<const Stanza> stanzas() const { return stanzas_; }
  const Stanza* find(std::string_view name) const;
  // False when the file exceeds a limit; the limit and the omitted part are logged. Such a file
  // must not be replaced by a text made from this object.
  bool isComplete() const { return isComplete_; }

 private:
  struct Block;

  std::vector<Block> readLines(Report report);
  void addStanza(std::string_view name, std::span<Setting> settings, Report report);

  std::filesystem::path path_;
  FileBytes bytes_;
  TextKeeper keeper_;
  std::vector<Setting> settings_;            // in the order of the file
  std::deque<std::vector<Setting>> joined_;  // of stanzas with several headers
  std::vector<Stanza> stanzas_;
  bool isComplete_ = true;
};

// The bytes of a .conf file, or an error: that of readFile(), also for a file of more than
// ConfFile::kMaxBytes, or that of findEncodingError().
FileBytes readConfFile(const std::filesystem::path& path);

}  // namespace sourcetype

template <>
struct std::is_error_code_enum<sourcetype::ConfEncoding> : std::true_type {};
