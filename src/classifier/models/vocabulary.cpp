#include "classifier/models/vocabulary.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <string>
#include <utility>

namespace sourcetype {

namespace {

// Mixes well: 2^64 divided by the golden ratio.
constexpr std::uint64_t kMixer = 0x9E3779B97F4A7C15U;

std::size_t mixed(std::uint64_t value) {
  const std::uint64_t product = value * kMixer;
  return product ^ (product >> 32U);
}

}  // namespace

Vocabulary::Key::Key(std::string_view text) : length(static_cast<std::uint32_t>(text.size())) {
  std::memcpy(beginning.data(), text.data(), std::min(text.size(), sizeof beginning));
}

// A short text is its beginning and its length; mixing these is enough.
std::size_t Vocabulary::Key::hash(std::string_view text) const {
  if (!isWhole()) return std::hash<std::string_view>()(text);
  return mixed(beginning[0] + mixed(beginning[1] + length));
}

// The slot of a text, or the free one that it can have.
std::size_t Vocabulary::place(std::string_view text) const {
  const Key key(text);
  const std::size_t mask = slots_.size() - 1;
  std::size_t at = key.hash(text) & mask;
  for (; slots_[at].number != kNoNumber; at = (at + 1) & mask) {
    const Slot& slot = slots_[at];
    if (slot.key == key && (key.isWhole() || texts_[slot.number] == text)) break;
  }
  return at;
}

std::optional<std::uint32_t> Vocabulary::find(std::string_view text) const {
  const Slot& slot = slots_[place(text)];
  if (slot.number == kNoNumber) return std::nullopt;
  return slot.number;
}

std::uint32_t Vocabulary::intern(std::string_view text) {
  Slot& slot = slots_[place(text)];
  if (slot.number != kNoNumber) return slot.number;
  const auto number = static_cast<std::uint32_t>(texts_.size());
  slot = {.key = Key(text), .number = number};
  texts_.push_back(keeper_.keep(std::string(text)));
  if (texts_.size() * 4 > slots_.size() * 3) grow();
  return number;
}

void Vocabulary::grow() {
  const std::vector<Slot> old = std::exchange(slots_, std::vector<Slot>(slots_.size() * 2));
  for (const Slot& slot : old) {
    if (slot.number != kNoNumber) slots_[place(texts_[slot.number])] = slot;
  }
}

}  // namespace sourcetype
