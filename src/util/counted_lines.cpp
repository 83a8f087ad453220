#include "util/counted_lines.h"

#include <algorithm>
#include <utility>

#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMaxLine = 1024;

// Three bytes in a row have one of so many numbers.
constexpr std::size_t kTriples = 32768;

// The number of the triple that ends with `byte`, after the triple with the number `previous`. The
// third power of the factor is a multiple of kTriples, so earlier bytes do not count.
constexpr std::size_t nextTriple(std::size_t previous, unsigned char byte) {
  constexpr std::size_t kFactor = 160;
  static_assert(kFactor * kFactor * kFactor % kTriples == 0);
  return (previous * kFactor + byte) % kTriples;
}

std::size_t sharedSize(std::string_view one, std::string_view other) {
  const auto end = std::ranges::mismatch(one, other).in1;
  return static_cast<std::size_t>(end - one.begin());
}

}  // namespace

CountedLines::CountedLines(std::vector<std::string_view> lines) : lines_(std::move(lines)) {
  sharedStarts_.reserve(lines_.size());
  std::string_view previous;
  for (const auto line : lines_) {
    sharedStarts_.push_back(sharedSize(line, previous));
    previous = line;
    countStart(line);
    if (line.size() > kMaxLine) {
      ++longLines_;
      continue;
    }
    ByteSet bytes;
    for (const char c : line) bytes.add(static_cast<unsigned char>(c));
    bytes.visit([this](unsigned char byte) { ++bytes_[byte]; });
  }
}

void CountedLines::countStart(std::string_view line) {
  const auto positions = std::min(line.size(), kPositions);
  for (std::size_t i = 0; i < positions; ++i) {
    const auto byte = byteAt(line, i);
    ++starts_[i][byte];
    startBytes_[i].add(byte);
  }
}

void CountedLines::countTriples() {
  triples_.assign(kTriples, 0);
  std::vector<std::uint32_t> lastLineWith(kTriples, 0);
  std::uint32_t number = 0;
  for (const auto line : lines_) {
    ++number;
    if (line.size() > kMaxLine) continue;
    std::size_t triple = 0;
    for (const char c : line) {
      triple = nextTriple(triple, static_cast<unsigned char>(c));
      if (lastLineWith[triple] == number) continue;
      lastLineWith[triple] = number;
      ++triples_[triple];
    }
  }
}

std::size_t CountedLines::at(std::size_t position, ByteSet bytes) const {
  std::size_t lines = 0;
  bytes.intersect(startBytes_[position]);
  bytes.visit([&](unsigned char byte) { lines += starts_[position][byte]; });
  return lines;
}

std::size_t CountedLines::with(unsigned char first, unsigned char second, unsigned char third) {
  if (triples_.empty()) countTriples();
  return longLines_ + triples_[nextTriple(nextTriple(nextTriple(0, first), second), third)];
}

}  // namespace sourcetype
