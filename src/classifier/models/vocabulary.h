// Numbers for texts, so that words are compared and stored as numbers.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "util/text_keeper.h"

namespace sourcetype {

// Numbers texts from 0 in the order in which they are first added. Made for millions of lookups of
// short words: finding a word of up to sixteen bytes reads nothing but the table.
class Vocabulary {
 public:
  Vocabulary() : slots_(kFirstSlots) {}

  // Returns the number of a text. A text that is new gets the next number.
  std::uint32_t intern(std::string_view text) { return intern(text, Key(text)); }
  // Interns text(item) of each of `items` in their order, and calls visit(item, number) for each.
  // Faster than intern() in a loop: it prefetches the slots, since reading one from memory takes
  // longer than everything else.
  template <class Items, class Text, class Visit>
  void internEach(const Items& items, Text text, Visit visit);
  // Returns the number of a text; nothing when it has none.
  std::optional<std::uint32_t> find(std::string_view text) const;

  // Returns the text of a number. It lives as long as the vocabulary.
  std::string_view text(std::uint32_t number) const { return texts_[number]; }
  std::size_t size() const { return texts_.size(); }

 private:
  static constexpr std::size_t kFirstSlots = 1024;  // the number of slots is a power of two

  static constexpr std::uint32_t kNoNumber = ~0U;  // marks an empty slot

  // The part of a text that is in the table.
  struct Key {
    std::array<std::uint64_t, 2> beginning{};  // as beginningOf() returns it
    std::uint32_t length = 0;
    std::uint32_t hash = 0;

    Key() = default;
    explicit Key(std::string_view text);
    // True when `beginning` and `length` determine the text.
    bool isWhole() const { return length <= sizeof beginning; }
    friend bool operator==(const Key& a, const Key& b) {
      return a.beginning[0] == b.beginning[0] && a.beginning[1] == b.beginning[1] &&
             a.length == b.length;
    }
  };
  struct Slot {
    Key key;
    std::uint32_t number = kNoNumber;
  };

  std::uint32_t intern(std::string_view text, const Key& key);
  std::size_t findSlot(std::string_view text, const Key& key) const;
  void grow();

  TextKeeper keeper_;
  std::vector<std::string_view> texts_;
  std::vector<Slot> slots_;  // open addressing, linear probing, at most three quarters full
};

template <class Items, class Text, class Visit>
void Vocabulary::internEach(const Items& items, Text text, Visit visit) {
  constexpr std::size_t kBatch = 64;  // small enough for the first-level cache
  std::array<Key, kBatch> keys;
  for (std::size_t begin = 0; begin < items.size(); begin += kBatch) {
    const auto batch = std::span(items).subspan(begin, std::min(kBatch, items.size() - begin));
    for (std::size_t i = 0; i < batch.size(); ++i) {
      keys[i] = Key(std::invoke(text, batch[i]));
      __builtin_prefetch(&slots_[keys[i].hash & (slots_.size() - 1)]);
    }
    for (std::size_t i = 0; i < batch.size(); ++i) {
      visit(batch[i], intern(std::invoke(text, batch[i]), keys[i]));
    }
  }
}

}  // namespace sourcetype
