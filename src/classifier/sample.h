// A bounded piece of one file as lines of UTF-8 text, on which everything else works.
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

// The most bytes of a file that are read, per line of the line limit.
inline constexpr std::uint64_t kBytesPerLine = 1000;

// As many lines say whether lines are events and where timestamps stand; more are not looked at.
inline constexpr std::size_t kMaxExaminedLines = 1000;

// Owns its text. Lines are valid UTF-8 where the file's charset is known, else the file's bytes.
class Sample {
 public:
  // Lines kept, in file order; 0 where only counts were wanted. Empty lines are dropped, so this is
  // no count of newlines.
  std::size_t lineCount() const { return extents_.size(); }
  // Line `index` without its terminator; needs index < lineCount(). Lives as long as *this.
  std::string_view line(std::size_t index) const {
    return std::string_view(text_).substr(extents_[index].offset, extents_[index].length);
  }

  // Raw bytes read, and characters (in UTF-8: bytes) that could not be converted.
  std::uint64_t bytesRead() const { return bytesRead_; }
  std::uint64_t invalidCount() const { return invalidCount_; }
  // The charset that a byte-order mark named; empty when there was none or nobody asked.
  const std::string& detectedCharset() const { return detectedCharset_; }

 private:
  friend class Sampler;

  struct Extent {
    std::size_t offset;  // in text_: a view would not survive a move of *this
    std::size_t length;
  };

  std::string text_;
  std::vector<Extent> extents_;
  std::uint64_t bytesRead_ = 0;
  std::uint64_t invalidCount_ = 0;
  std::string detectedCharset_;
};

// The charset to read a file in, and what a byte-order mark says of it.
struct CharsetChoice {
  std::string charset;
  std::string detected;  // empty without a mark
};

// Goes by "CHARSET" of `props`: "UTF-8" where it is missing, the mark at the start of `firstChunk`
// where it is "auto" ("UTF-8" without a mark). `fileName` is for the log.
CharsetChoice chooseCharset(const PropertiesMap& props, std::string_view firstChunk,
                            std::string_view fileName);

// What of a sample is wanted. Where nobody is going to look at the lines they are cut and counted
// like any others, for the limits, but not kept.
enum class Keep { Lines, CountsOnly };

// Samples `path` in the charset that `props` asks for, until `maxLines` lines or kBytesPerLine
// times as many bytes are in. A byte-order mark is not part of the text, whether or not it chose
// the charset. An unknown charset is logged and leaves the bytes as they are. Of a line longer than
// 10000 bytes the end is kept. Empty, with the reason logged, when the file cannot be opened.
std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep = Keep::Lines);
// The same with the reason, also for a sample that ends where reading failed.
std::optional<Sample> readSample(const std::filesystem::path& path, const PropertiesMap& props,
                                 std::uint64_t maxLines, Keep keep, std::error_code& error);

// The same for text in memory, whole.
Sample readSampleText(std::string_view text, const PropertiesMap& props, std::string_view fileName);

}  // namespace sourcetype
