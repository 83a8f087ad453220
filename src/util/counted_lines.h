// Lines, and how many of them have a byte at a position, a byte anywhere, or three bytes in a row.
// Rules try hundreds of expressions on the same lines; these counts exclude most of them.
//
//   const CountedLines lines(texts);
//   if (lines.with('{') < count) return;  // fewer than `count` lines contain a brace
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

#include "util/byte_set.h"

namespace sourcetype {

class CountedLines {
 public:
  // A date and time have up to 23 bytes.
  static constexpr std::size_t kPositions = 24;

  // The texts of the lines must outlive the object.
  explicit CountedLines(std::vector<std::string_view> lines);

  std::size_t size() const { return lines_.size(); }
  std::string_view operator[](std::size_t index) const { return lines_[index]; }
  // The number of bytes at the start of a line that the line before it has too.
  std::size_t sharedStart(std::size_t index) const { return sharedStarts_[index]; }

  // The lines with one of `bytes` at a position below kPositions.
  std::size_t at(std::size_t position, ByteSet bytes) const;
  // At least as many as the lines that contain a byte, or three bytes in a row.
  std::size_t with(unsigned char byte) const { return longLines_ + bytes_[byte]; }
  std::size_t with(unsigned char first, unsigned char second, unsigned char third) const;

 private:
  struct LastLines;

  void countStart(std::string_view line);
  void countContent(std::string_view line, LastLines& last);

  std::vector<std::string_view> lines_;
  std::vector<std::size_t> sharedStarts_;
  std::array<std::array<std::uint32_t, 256>, kPositions> starts_{};
  std::array<ByteSet, kPositions> startBytes_;  // that some line has at the position
  std::array<std::uint32_t, 256> bytes_{};
  std::vector<std::uint32_t> triples_;  // by number
  std::size_t longLines_ = 0;           // these are taken to contain everything
};

}  // namespace sourcetype
