#include "util/match_bound.h"

#include <algorithm>
#include <cstdint>

namespace sourcetype {
namespace {

using Kind = ExpressionTree::Kind;
using Node = ExpressionTree::Node;

// The lines that have the bytes that an anchored expression begins with, up to an item that is not
// a fixed number of bytes.
class StartBound {
 public:
  StartBound(const ExpressionTree& tree, const CountedLines& lines) : lines_(lines) {
    const Node& root = tree.node(tree.root());
    if (root.kind != Kind::Sequence) return;
    for (auto i = root.firstPart; i != ExpressionTree::kNone && !isAtEnd_;
         i = tree.node(i).nextSibling) {
      add(tree, tree.node(i));
    }
  }
  std::size_t bound() const { return bound_; }

 private:
  void add(const ExpressionTree& tree, const Node& part) {
    if (readsNothing(part)) return;
    for (const char c : part.text) addByte(ByteSet::of(c));
    if (part.kind == Kind::Text) return;
    const Node& item = part.kind == Kind::Repeat ? tree.node(part.firstPart) : part;
    isAtEnd_ = item.kind != Kind::Bytes || part.min != part.max || item.bytes.contains(0x80);
    if (item.kind != Kind::Bytes) return;
    for (std::uint32_t i = 0; i < part.min; ++i) addByte(item.bytes);
  }

  void addByte(const ByteSet& bytes) {
    isAtEnd_ = isAtEnd_ || position_ == CountedLines::kPositions || bound_ == 0;
    if (position_ == CountedLines::kPositions) return;
    bound_ = std::min(bound_, lines_.at(position_++, bytes));
  }

  const CountedLines& lines_;
  std::size_t bound_ = lines_.size();
  std::size_t position_ = 0;
  bool isAtEnd_ = false;
};

// The lines that have the bytes and the texts that every match contains.
class ContentBound {
 public:
  ContentBound(const ExpressionTree& tree, const CountedLines& lines)
      : tree_(tree), lines_(lines) {}

  // Looks no further where the bound is below `least`.
  std::size_t find(std::uint32_t index, std::size_t least) {
    const Node& node = tree_.node(index);
    std::size_t bound = lines_.size();
    switch (node.kind) {
      case Kind::Empty:
      case Kind::Start:
        return bound;
      case Kind::Text:
        for (const char c : node.text) {
          if (bound >= least) bound = std::min(bound, read(static_cast<unsigned char>(c)));
        }
        return bound;
      case Kind::Bytes:
        if (const auto byte = node.bytes.single()) return read(*byte);
        break;
      case Kind::Sequence:
        tree_.forEachPart(node, [&](auto part) {
          if (bound >= least) bound = std::min(bound, find(part, least));
        });
        return bound;
      case Kind::Choice:
        bound = 0;
        tree_.forEachPart(node, [&](auto part) {
          endRun();
          bound += find(part, 1);
        });
        break;
      case Kind::Ahead:
      case Kind::Repeat:
        endRun();
        if (node.min > 0) bound = find(node.firstPart, least);
        break;
    }
    endRun();
    return bound;
  }

 private:
  std::size_t read(unsigned char byte) {
    auto bound = lines_.with(byte);
    if (run_ >= 2) bound = std::min(bound, lines_.with(first_, second_, byte));
    ++run_;
    first_ = second_;
    second_ = byte;
    return bound;
  }
  void endRun() { run_ = 0; }

  const ExpressionTree& tree_;
  const CountedLines& lines_;
  std::size_t run_ = 0;  // bytes in a row, of which these are the last two
  unsigned char first_ = 0;
  unsigned char second_ = 0;
};

}  // namespace

bool mayMatch(const ExpressionTree& tree, const CountedLines& lines, std::size_t count) {
  if (tree.isAnchored() && StartBound(tree, lines).bound() < count) return false;
  return ContentBound(tree, lines).find(tree.root(), count) >= count;
}

}  // namespace sourcetype
