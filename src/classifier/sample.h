// A sample: the beginning of a file as lines of UTF-8 text. All later stages work on it.
//
//   if (auto sample = readSample(path, props, kDefaultMaxLines)) {
//     for (std::size_t i = 0; i < sample->lineCount(); ++i) examine(sample->line(i));
//   }
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "conf/properties_map.h"

namespace sourcetype {

// The limit of bytes to read is this many bytes for each line of the limit of lines.
inline constexpr std::uint64_t kBytesPerLine = 1000;

// Lines of a sample that are examined to decide whether lines are events and where timestamps are.
inline constexpr std::size_t kMaxExaminedLines = 1000;

// Owns its text. Lines are valid UTF-8 if the charset of the file is known, else the file's bytes.
class Sample {
 public:
  // Number of lines that were kept; 0 for Keep::CountsOnly. Empty lines are dropped, so this is not
  // the number of newlines.
  std::size_t lineCount() const { return extents_.size(); }
  // Returns a line without its terminator; needs index < lineCount(). It lives as long as *this.
  std::string_view line(std::size_t index) const {
    return std::string_view(text_).substr(extents_[index].offset, extents_[index].length);
  }

  // Bytes read, before conversion.
  std::uint64_t bytesRead() const { return bytesRead_; }
  // Characters (in UTF-8: bytes) that could not be converted.
  std::uint64_t invalidCount() const { return invalidCount_; }
  // The charset of the byte-order mark. Empty without a mark, and when CHARSET was not "auto".
  const std::string& detectedCharset() const { return detectedCharset_; }

 private:
  friend class Sampler;

  struct Extent {
    std::size_t offset;  // in text_; a view could become invalid when *this is moved
    std::size_t length;
  };

  std::string text_;
  std::vector<Extent> extents_;
  std::uint64_t bytesRead_ = 0;
  std::uint64_t invalidCount_ = 0;
  std::string detectedCharset_;
};

// The charset to read a file in, and the charset of its byte-order mark.
struct CharsetChoice {
  std::string charset;
  std::string detected;  // empty without a mark
};

// Returns the "CHARSET" of `props`. If it is missing, returns "UTF-8". If it is "auto", returns the
// charset of the byte-order mark at the start of `firstChunk`, or "UTF-8" without a mark.
// `fileName` is for the log.
CharsetChoice chooseCharset(const PropertiesMap& props, std::string_view firstChunk,
                            std::string_view fileName);

// Whether a sample keeps its lines. With CountsOnly the lines are still counted, for the limits,
// but their text is dropped.
enum class Keep { Lines, CountsOnly };

// Reads `path` in the charset that chooseCharset() returns for `props`, until it has `maxLines`
// lines or kBytesPerLine times as many bytes. The text does not include the byte-order mark, even
// when the mark did not decide the charset. With an unknown charset, which is logged, the bytes
// stay as they are. Of a line longer than 10000 bytes only the end is kept. When the file cannot be
// opened, logs the reason and returns nothing.
std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep = Keep::Lines);
// The same. Sets `error` when the file cannot be opened, or when reading fails later: the sample
// then has the lines before.
std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep, std::error_code& error);

// Makes a sample of a text in memory, without limits.
Sample readSampleText(std::string_view text, const PropertiesMap& props, std::string_view fileName);

}  // namespace sourcetype
