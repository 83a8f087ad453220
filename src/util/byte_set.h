// A set of bytes.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace sourcetype {

class ByteSet {
 public:
  static constexpr ByteSet of(char c) {
    ByteSet set;
    set.add(static_cast<unsigned char>(c));
    return set;
  }
  constexpr bool contains(unsigned char byte) const {
    return (bits_[byte / 64U] >> (byte % 64U) & 1U) != 0;
  }
  constexpr void add(unsigned char byte) { bits_[byte / 64U] |= std::uint64_t{1} << (byte % 64U); }
  // Adds the bytes from `first` to `last`.
  constexpr void add(unsigned char first, unsigned char last) {
    for (unsigned i = first / 64U; i <= last / 64U; ++i) {
      const unsigned low = i == first / 64U ? first % 64U : 0;
      const unsigned high = i == last / 64U ? last % 64U : 63;
      bits_[i] |= ~std::uint64_t{0} >> (63 - high) & ~std::uint64_t{0} << low;
    }
  }
  constexpr void remove(unsigned char byte) {
    bits_[byte / 64U] &= ~(std::uint64_t{1} << (byte % 64U));
  }
  constexpr void add(const ByteSet& other) {
    for (std::size_t i = 0; i < bits_.size(); ++i) bits_[i] |= other.bits_[i];
  }
  constexpr void intersect(const ByteSet& other) {
    for (std::size_t i = 0; i < bits_.size(); ++i) bits_[i] &= other.bits_[i];
  }
  constexpr void invert() {
    for (auto& bits : bits_) bits = ~bits;
  }
  // The byte of a set of one.
  constexpr std::optional<unsigned char> single() const {
    std::optional<unsigned char> found;
    for (unsigned i = 0; i < bits_.size(); ++i) {
      if (bits_[i] == 0) continue;
      if (found || !std::has_single_bit(bits_[i])) return std::nullopt;
      found =
          static_cast<unsigned char>(i * 64 + static_cast<unsigned>(std::countr_zero(bits_[i])));
    }
    return found;
  }
  // Calls visit(byte) in ascending order.
  template <class Visit>
  constexpr void visit(Visit visit) const {
    for (unsigned i = 0; i < bits_.size(); ++i) {
      for (auto rest = bits_[i]; rest != 0; rest &= rest - 1) {
        visit(static_cast<unsigned char>(i * 64 + static_cast<unsigned>(std::countr_zero(rest))));
      }
    }
  }

 private:
  std::array<std::uint64_t, 4> bits_{};
};

}  // namespace sourcetype
