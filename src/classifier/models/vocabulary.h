// Texts by number.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "conf/logical_lines.h"

namespace sourcetype {

// Numbers texts in the order in which they first come. Made for millions of look-ups of short
// words: a word of up to sixteen bytes is found by one look into the table.
class Vocabulary {
 public:
  Vocabulary() : slots_(kFirstSlots) {}

  // The number of a text, a new one for a new text.
  std::uint32_t intern(std::string_view text);
  // Has the processor fetch what intern() is going to look at, which takes longer than all the
  // rest.
  void prefetch(std::string_view text) const {
    __builtin_prefetch(&slots_[Key(text).hash(text) & (slots_.size() - 1)]);
  }
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

    Key() = default;
    explicit Key(std::string_view text);
    bool isWhole() const { return length <= sizeof beginning; }
    std::size_t hash(std::string_view text) const;
    friend bool operator==(const Key& a, const Key& b) {
      return a.beginning[0] == b.beginning[0] && a.beginning[1] == b.beginning[1] &&
             a.length == b.length;
    }
  };
  struct Slot {
    Key key;
    std::uint32_t number = kNoNumber;
  };

  std::size_t place(std::string_view text) const;
  void grow();

  TextKeeper keeper_;
  std::vector<std::string_view> texts_;
  std::vector<Slot> slots_;  // open addressing, linear probing, at most three quarters full
};

}  // namespace sourcetype
