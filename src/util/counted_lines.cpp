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

// The numbers of the last lines that had a byte or three bytes in a row. Numbers begin at 1.
struct CountedLines::LastLines {
  std::array<std::uint32_t, 256> bytes{};
  std::vector<std::uint32_t> triples = std::vector<std::uint32_t>(kTriples);
  std::uint32_t number = 0;
};

CountedLines::CountedLines(std::vector<std::string_view> lines)
    : lines_(std::move(lines)), triples_(kTriples) {
  sharedStarts_.reserve(lines_.size());
  LastLines last;
  std::string_view previous;
  for (const auto line : lines_) {
    sharedStarts_.push_back(sharedSize(line, previous));
    previous = line;
    countStart(line);
    countContent(line, last);
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

void CountedLines::countContent(std::string_view line, LastLines& last) {
  if (line.size() > kMaxLine) {
    ++longLines_;
    return;
  }
  const auto number = ++last.number;
  std::size_t triple = 0;
  for (const char c : line) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::exchange(last.bytes[byte], number) != number) ++bytes_[byte];
    triple = nextTriple(triple, byte);
    if (std::exchange(last.triples[triple], number) != number) ++triples_[triple];
  }
}

std::size_t CountedLines::at(std::size_t position, ByteSet bytes) const {
  std::size_t lines = 0;
  bytes.intersect(startBytes_[position]);
  bytes.visit([&](unsigned char byte) { lines += starts_[position][byte]; });
  return lines;
}

std::size_t CountedLines::with(unsigned char first, unsigned char second,
                               unsigned char third) const {
  return longLines_ + triples_[nextTriple(nextTriple(nextTriple(0, first), second), third)];
}

}  // namespace sourcetype
