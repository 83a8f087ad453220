// The structure of a regular expression, for those who want to know what its matches have in common.
//
//   if (const auto tree = ExpressionTree::parse(pattern)) walk(tree->root());
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace sourcetype {

class ByteSet {
 public:
  constexpr bool contains(unsigned char byte) const {
    return (bits_[byte / 64U] >> (byte % 64U) & 1U) != 0;
  }
  constexpr void add(unsigned char byte) { bits_[byte / 64U] |= std::uint64_t{1} << (byte % 64U); }
  constexpr void add(unsigned char first, unsigned char last) {
    for (unsigned byte = first; byte <= last; ++byte) add(static_cast<unsigned char>(byte));
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
  constexpr std::size_t size() const {
    std::size_t count = 0;
    for (const auto bits : bits_) count += static_cast<std::size_t>(std::popcount(bits));
    return count;
  }
  // The byte of a set of one.
  constexpr std::optional<unsigned char> single() const {
    if (size() != 1) return std::nullopt;
    std::optional<unsigned char> found;
    visit([&](unsigned char byte) { found = byte; });
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

// Only expressions of ASCII and of constructs that are common in rules are understood. All of those
// compile. Differences that only make an expression match less are left out: assertions, negative
// lookaheads, lookbehinds, possessive and lazy quantifiers.
class ExpressionTree {
 public:
  enum class Kind : std::uint8_t {
    Empty,     // matches no byte: an assertion, or nothing
    Ahead,     // a positive lookahead: its one part, which matches where the node stands
    Start,     // "^"
    Text,      // a text
    Bytes,     // one byte of a set; see Node
    Sequence,  // its parts, one after another
    Choice,    // one of its parts
    Repeat,    // its one part, `min` to `max` times
  };
  static constexpr std::uint32_t kNone = ~std::uint32_t{0};
  static constexpr std::uint32_t kUnlimited = ~std::uint32_t{0};

  struct Node {
    Kind kind = Kind::Empty;
    // A set contains all bytes from 0x80 or none of them. After one of these, the character may go on
    // with UTF-8 continuation bytes.
    ByteSet bytes = {};
    std::string_view text = {};  // of the pattern
    std::uint32_t min = 1;
    std::uint32_t max = 1;
    std::uint32_t firstPart = kNone;
    std::uint32_t nextSibling = kNone;
  };

  // Nothing for an expression that is not understood. The tree refers to the pattern.
  static std::optional<ExpressionTree> parse(std::string_view pattern);

  const Node& node(std::uint32_t index) const { return nodes_[index]; }
  std::uint32_t root() const { return root_; }

 private:
  friend class ExpressionParser;

  std::vector<Node> nodes_;
  std::uint32_t root_ = kNone;
};

}  // namespace sourcetype
