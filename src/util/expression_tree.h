// The structure of a regular expression, for those who want to know what its matches have in common.
//
//   if (const auto tree = ExpressionTree::parse(pattern)) walk(tree->root());
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

#include "util/byte_set.h"

namespace sourcetype {

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
  // Calls visit(index) for each part of a node.
  template <class Visit>
  void forEachPart(const Node& node, Visit visit) const {
    for (auto i = node.firstPart; i != kNone; i = nodes_[i].nextSibling) visit(i);
  }
  // Whether a match can only begin where a line does.
  bool isAnchored() const { return isAnchored(root_); }

 private:
  friend class ExpressionParser;

  bool isAnchored(std::uint32_t index) const;

  std::vector<Node> nodes_;
  std::uint32_t root_ = kNone;
};

inline bool readsNothing(const ExpressionTree::Node& node) {
  using Kind = ExpressionTree::Kind;
  return node.kind == Kind::Empty || node.kind == Kind::Ahead || node.kind == Kind::Start;
}

}  // namespace sourcetype
