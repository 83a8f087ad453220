// Texts by number.
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

// Numbers texts in the order in which they first come. Made for millions of look-ups of short
// words: a word of up to sixteen bytes is found by one look into the table.
class Vocabulary {
 public:
  Vocabulary() : slots_(kFirstSlots) {}

  // The number of a text, a new one for a new text.
  std::uint32_t intern(std::string_view text) { return intern(text, Key(text)); }
  // Interns the `text` of each of `items` in turn and calls visit(item, number). Fetching a slot
  // from memory takes longer than all the rest, so it is asked for well before it is looked at.
  template <class Items, class Text, class Visit>
  void internEach(const Items& items, Text text, Visit visit);
  std::optional<std::uint32_t> find(std::string_view text) const;

  // The text of a number; lives as long as the vocabulary.
  std::string_view text(std::uint32_t number) const { return texts_[number]; }
  std::size_t size() const { return texts_.size(); }

 private:
  static constexpr std::size_t kFirstSlots = 1024;  // a power of two, as ever

  static constexpr std::uint32_t kNoNumber = ~0U;  // of a slot that is free

  // What of a text stands in the table.
  struct Key {
    std::array<std::uint64_t, 2> beginning{};  // its first bytes, as many as fit
    std::uint32_t length = 0;
    std::uint32_t hash = 0;

    Key() = default;
    explicit Key(std::string_view text);
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
  std::size_t place(std::string_view text, const Key& key) const;
  void grow();

  TextKeeper keeper_;
  std::vector<std::string_view> texts_;
  std::vector<Slot> slots_;  // open addressing, linear probing, at most three quarters full
};

template <class Items, class Text, class Visit>
void Vocabulary::internEach(const Items& items, Text text, Visit visit) {
  constexpr std::size_t kBatch = 64;  // as many as the nearest memory surely has room for
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
