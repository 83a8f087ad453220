#include "classifier/models/vocabulary.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>

namespace sourcetype {

namespace {

// 2^64 divided by the golden ratio. Its products are spread evenly.
constexpr std::uint64_t kMixer = 0x9E3779B97F4A7C15U;

std::uint64_t mix(std::uint64_t value) {
  const std::uint64_t product = value * kMixer;
  return product ^ (product >> 32U);
}

template <class Number>
std::uint64_t load(const char* from) {
  Number number;
  std::memcpy(&number, from, sizeof number);
  return number;
}

// Returns the first sixteen bytes of a text as two numbers. The numbers of a shorter text may both
// contain its middle bytes: this needs no loop.
std::array<std::uint64_t, 2> beginningOf(std::string_view text) {
  constexpr std::size_t kWhole = sizeof(std::uint64_t);
  constexpr std::size_t kHalf = sizeof(std::uint32_t);
  const char* const first = text.data();
  const char* const last = first + std::min(text.size(), 2 * kWhole);
  if (text.size() >= kWhole) {
    return {load<std::uint64_t>(first), load<std::uint64_t>(last - kWhole)};
  }
  if (text.size() >= kHalf) {
    return {load<std::uint32_t>(first), load<std::uint32_t>(last - kHalf)};
  }
  std::array<std::uint64_t, 2> bytes{};
  std::memcpy(bytes.data(), first, text.size());
  return bytes;
}

}  // namespace

Vocabulary::Key::Key(std::string_view text)
    : beginning(beginningOf(text)), length(static_cast<std::uint32_t>(text.size())) {
  // A short text is determined by its beginning and its length.
  hash = static_cast<std::uint32_t>(isWhole() ? mix(beginning[0] + mix(beginning[1] + length))
                                              : std::hash<std::string_view>()(text));
}

// Returns the index of the slot of a text, or of the empty slot where it can be put.
std::size_t Vocabulary::findSlot(std::string_view text, const Key& key) const {
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = key.hash & mask;
  for (; slots_[at].number != kNoNumber; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.key == key && (key.isWhole() || texts_[slot.number] == text)) break;
  }
  return at;
}

std::optional<std::uint32_t> Vocabulary::find(std::string_view text) const {
  const Slot& slot = slots_[findSlot(text, Key(text))];
  if (slot.number == kNoNumber) return std::nullopt;
  return slot.number;
}

std::uint32_t Vocabulary::intern(std::string_view text, const Key& key) {
  Slot& slot = slots_[findSlot(text, key)];
  if (slot.number != kNoNumber) return slot.number;
  const auto number = static_cast<std::uint32_t>(texts_.size());
  slot = {.key = key, .number = number};
  texts_.push_back(keeper_.keep(std::string(text)));
  if (texts_.size() * 4 > slots_.size() * 3) grow();
  return number;
}

void Vocabulary::grow() {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots_.size() * 2));
  for (const Slot& slot : old) {
    if (slot.number != kNoNumber) slots_[findSlot(texts_[slot.number], slot.key)] = slot;
  }
}

}  // namespace sourcetype
