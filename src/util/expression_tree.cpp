#include "util/expression_tree.h"

#include <algorithm>

#include "util/text.h"

namespace sourcetype {
namespace {

// At most what the library compiles.
constexpr std::size_t kMaxPatternSize = 8000;
constexpr int kMaxNesting = 30;
constexpr std::uint32_t kMaxRepeats = 65535;

// A bound of the compiled size, in bytes: the library stores a class as a table, and a copy of a
// group for each repetition. Of larger expressions not all forms may compile.
constexpr std::uint64_t kMaxCompiledSize = 12000;
constexpr std::uint64_t kClassSize = 40;
constexpr std::uint64_t kItemSize = 8;

constexpr ByteSet kDigits = [] {
  ByteSet set;
  set.add('0', '9');
  return set;
}();
constexpr ByteSet kWordBytes = [] {
  ByteSet set = kDigits;
  set.add('a', 'z');
  set.add('A', 'Z');
  set.add('_');
  return set;
}();
constexpr ByteSet kSpaces = [] {
  ByteSet set;
  set.add('\t', '\r');
  set.add(' ');
  return set;
}();
constexpr ByteSet kAny = [] {
  ByteSet set;
  set.invert();
  return set;
}();

struct NotUnderstood {};

// Characters without a meaning of their own in an expression.
constexpr ByteSet kPlainCharacters = [] {
  ByteSet set;
  set.add(' ', '~');
  for (const char c : {'\\', '^', '$', '.', '[', '|', '(', ')', '?', '*', '+', '{'}) {
    set.remove(static_cast<unsigned char>(c));
  }
  return set;
}();

}  // namespace

class ExpressionParser {
 public:
  ExpressionParser(std::string_view pattern, ExpressionTree& tree)
      : pattern_(pattern),
        nodes_(tree.nodes_),
        isLarge_(pattern.size() * (kClassSize + kItemSize) > kMaxCompiledSize) {}

  // Returns the root. Throws NotUnderstood.
  std::uint32_t parse() {
    if (pattern_.size() > kMaxPatternSize) throw NotUnderstood{};
    nodes_.reserve(pattern_.size() + 4);
    const auto root = choice(1);
    if (!atEnd()) throw NotUnderstood{};  // a parenthesis that nothing opened
    if (isLarge_ && compiledSize(root) > kMaxCompiledSize) throw NotUnderstood{};
    return root;
  }

 private:
  using Kind = ExpressionTree::Kind;
  using Node = ExpressionTree::Node;
  static constexpr std::uint32_t kNone = ExpressionTree::kNone;
  static constexpr std::uint32_t kUnlimited = ExpressionTree::kUnlimited;

  bool atEnd() const { return at_ == pattern_.size(); }
  char peek() const { return atEnd() ? '\0' : pattern_[at_]; }
  bool sees(char c) const { return peek() == c; }
  bool accept(char c) {
    if (!sees(c)) return false;
    ++at_;
    return true;
  }
  bool accept(std::string_view text) {
    if (!pattern_.substr(at_).starts_with(text)) return false;
    at_ += text.size();
    return true;
  }
  char next() {
    if (atEnd() || !isAscii(pattern_[at_])) throw NotUnderstood{};
    return pattern_[at_++];
  }
  // The number of plain characters that stand here without a quantifier.
  std::size_t plainLength() const {
    const auto rest = pattern_.substr(at_);
    const auto isPlain = [](char c) {
      return kPlainCharacters.contains(static_cast<unsigned char>(c));
    };
    const auto end = std::ranges::find_if_not(rest, isPlain);
    const auto length = static_cast<std::size_t>(end - rest.begin());
    const bool hasQuantifier = end != rest.end() && isQuantifier(*end);
    return hasQuantifier && length > 0 ? length - 1 : length;
  }
  static bool isQuantifier(char c) { return c == '?' || c == '*' || c == '+' || c == '{'; }
  static bool isAscii(char c) { return static_cast<unsigned char>(c) < 0x80 && c != '\0'; }

  std::uint32_t add(const Node& node) {
    nodes_.push_back(node);
    return static_cast<std::uint32_t>(nodes_.size() - 1);
  }
  std::uint32_t addText(std::size_t length) {
    const auto begin = at_;
    at_ += length;
    return add({.kind = Kind::Text, .text = pattern_.substr(begin, length)});
  }
  std::uint32_t addByte(char c) {
    ByteSet bytes;
    addCharacter(bytes, c);
    return addBytes(bytes);
  }
  std::uint32_t addBytes(const ByteSet& bytes) {
    return add({.kind = Kind::Bytes, .bytes = bytes});
  }

  std::uint32_t choice(int nesting) {
    if (nesting > kMaxNesting) throw NotUnderstood{};
    const auto first = sequence(nesting);
    if (!sees('|')) return first;
    for (auto last = first; accept('|');) {
      const auto alternative = sequence(nesting);
      nodes_[last].nextSibling = alternative;
      last = alternative;
    }
    return add({.kind = Kind::Choice, .firstPart = first});
  }

  std::uint32_t sequence(int nesting) {
    const auto result = add({.kind = Kind::Sequence});
    for (auto last = kNone; !atEnd() && peek() != '|' && peek() != ')';) {
      const auto length = isCaseless_ ? 0 : plainLength();
      const auto part = length > 0 ? addText(length) : quantified(nesting);
      (last == kNone ? nodes_[result].firstPart : nodes_[last].nextSibling) = part;
      last = part;
    }
    return result;
  }

  std::uint32_t quantified(int nesting) {
    const auto part = atom(nesting);
    if (!isQuantifier(peek())) return part;
    std::uint32_t min = 0;
    std::uint32_t max = kUnlimited;
    if (accept('+')) {
      min = 1;
    } else if (accept('?')) {
      max = 1;
    } else if (!accept('*')) {
      counts(min, max);
    }
    const auto kind = nodes_[part].kind;
    if (kind == Kind::Empty || kind == Kind::Ahead || kind == Kind::Start) throw NotUnderstood{};
    if (!accept('+')) accept('?');  // possessive, lazy
    if (isQuantifier(peek())) throw NotUnderstood{};
    const bool isCopied = max == kUnlimited ? min > 0 : max > 1;
    isLarge_ = isLarge_ || (isCopied && kind != Kind::Bytes);
    return add({.kind = Kind::Repeat, .min = min, .max = max, .firstPart = part});
  }

  void counts(std::uint32_t& min, std::uint32_t& max) {
    accept('{');
    min = number();
    max = min;
    if (accept(',')) max = sees('}') ? kUnlimited : number();
    if (!accept('}') || max < min || max == 0) throw NotUnderstood{};
  }

  std::uint32_t number() {
    std::uint32_t value = 0;
    if (atEnd() || !isAsciiDigit(pattern_[at_])) throw NotUnderstood{};
    while (!atEnd() && isAsciiDigit(pattern_[at_]) && value <= kMaxRepeats) {
      value = value * 10 + static_cast<std::uint32_t>(pattern_[at_++] - '0');
    }
    if (value > kMaxRepeats) throw NotUnderstood{};
    return value;
  }

  std::uint32_t atom(int nesting) {
    switch (const char c = next()) {
      case '(':
        return group(nesting);
      case '[':
        return addBytes(byteClass());
      case '\\':
        return escaped();
      case '.':
        return addBytes(kAny);
      case '^':
        return add({.kind = Kind::Start});
      case '$':
        return add({.kind = Kind::Empty});
      case '*':
      case '+':
      case '?':
      case '{':
        throw NotUnderstood{};
      default:
        return addByte(c);
    }
  }

  std::uint32_t group(int nesting) {
    const bool isCaselessOutside = isCaseless_;
    const Group kind = groupKind();
    const auto inner = choice(nesting + 1);
    if (!accept(')')) throw NotUnderstood{};
    isCaseless_ = isCaselessOutside;
    if (kind == Group::Plain) return inner;
    if (kind == Group::Ahead) return add({.kind = Kind::Ahead, .firstPart = inner});
    if (kind == Group::Behind && !hasFixedSize(inner)) throw NotUnderstood{};
    return add({.kind = Kind::Empty});
  }

  enum class Group { Plain, Ahead, NotAhead, Behind };

  Group groupKind() {
    if (sees('*')) throw NotUnderstood{};
    if (!accept('?') || accept(':') || accept('>')) return Group::Plain;
    if (accept('=')) return Group::Ahead;
    if (accept('!')) return Group::NotAhead;
    if (accept("<=") || accept("<!")) return Group::Behind;
    if (!accept("i:")) throw NotUnderstood{};
    isCaseless_ = true;
    return Group::Plain;
  }

  // The library refuses to look behind for texts of different sizes.
  bool hasFixedSize(std::uint32_t index) const {
    const Node& node = nodes_[index];
    if (node.kind == Kind::Choice || (node.kind == Kind::Repeat && node.min != node.max))
      return false;
    for (auto part = node.firstPart; part != kNone; part = nodes_[part].nextSibling) {
      if (!hasFixedSize(part)) return false;
    }
    return true;
  }

  // Adds a character, in both cases where the case does not count. Some letters are then equal to
  // letters beyond ASCII, such as "s" to the long s.
  void addCharacter(ByteSet& bytes, char c) const {
    bytes.add(static_cast<unsigned char>(c));
    if (!isCaseless_ || !isAsciiLetter(c)) return;
    bytes.add(static_cast<unsigned char>(toAsciiLower(c)));
    bytes.add(static_cast<unsigned char>(toAsciiUpper(c)));
    if (toAsciiLower(c) == 'k' || toAsciiLower(c) == 's') bytes.add(0x80, 0xFF);
  }

  std::uint32_t escaped() {
    const char c = next();
    if (c == 'b' || c == 'B' || c == 'z' || c == 'Z') return add({.kind = Kind::Empty});
    ByteSet bytes;
    if (!shorthand(c, bytes)) addCharacter(bytes, literal(c));
    return addBytes(bytes);
  }

  // Adds what "\d" and its like stand for. The negated ones match all characters beyond ASCII.
  static bool shorthand(char c, ByteSet& bytes) {
    ByteSet set;
    switch (toAsciiLower(c)) {
      case 'd':
        set = kDigits;
        break;
      case 'w':
        set = kWordBytes;
        break;
      case 's':
        set = kSpaces;
        break;
      default:
        return false;
    }
    if (isAsciiUpper(c)) set.invert();
    bytes.add(set);
    return true;
  }

  // The character that a backslash and `c` stand for.
  char literal(char c) {
    switch (c) {
      case 't':
        return '\t';
      case 'r':
        return '\r';
      case 'n':
        return '\n';
      case 'e':
        return '\x1B';
      case 'x':
        return hexadecimal();
      default:
        break;
    }
    if (isAsciiLetter(c) || isAsciiDigit(c)) throw NotUnderstood{};
    return c;
  }

  // Two digits after "\x".
  char hexadecimal() {
    unsigned value = 0;
    for (int i = 0; i < 2; ++i) {
      const char c = toAsciiLower(next());
      const bool isLetter = c >= 'a' && c <= 'f';
      if (!isLetter && !isAsciiDigit(c)) throw NotUnderstood{};
      value = value * 16 + static_cast<unsigned>(isLetter ? c - 'a' + 10 : c - '0');
    }
    if (value == 0 || value >= 0x80) throw NotUnderstood{};
    return static_cast<char>(value);
  }

  ByteSet byteClass() {
    refuseNamedClass();
    ByteSet bytes;
    const bool isNegated = accept('^');
    bool isFirst = true;
    while (isFirst || !sees(']')) {
      isFirst = false;
      classItem(bytes);
    }
    accept(']');
    if (!isNegated) return bytes;
    bytes.invert();
    if (isCaseless_) bytes.add(0x80, 0xFF);
    return bytes;
  }

  // After "[": the library takes "[:", "[." and "[=" for a named class if the same character and "]"
  // come before any other "]".
  void refuseNamedClass() const {
    if (!sees(':') && !sees('.') && !sees('=')) return;
    const char mark = pattern_[at_];
    for (auto at = at_ + 1; at + 1 < pattern_.size(); ++at) {
      const char c = pattern_[at];
      const char following = pattern_[at + 1];
      if (c == '\\' && (following == ']' || following == '\\')) {
        ++at;
      } else if (c == ']' || (c == '[' && following == mark)) {
        return;
      } else if (c == mark && following == ']') {
        throw NotUnderstood{};
      }
    }
  }

  // A character, a range or a shorthand.
  void classItem(ByteSet& bytes) {
    const char first = next();
    if (first == '[') refuseNamedClass();
    char low = first;
    if (first == '\\') {
      const char c = next();
      if (shorthand(c, bytes)) {
        if (sees('-') && !pattern_.substr(at_).starts_with("-]")) throw NotUnderstood{};
        return;
      }
      low = literal(c);
    }
    char high = low;
    if (sees('-') && !pattern_.substr(at_).starts_with("-]")) {
      accept('-');
      high = next();
      if (high == '[') refuseNamedClass();
      if (high == '\\') high = literal(next());
      if (high < low) throw NotUnderstood{};
    }
    if (!isCaseless_)
      return bytes.add(static_cast<unsigned char>(low), static_cast<unsigned char>(high));
    for (char c = low; c != high; ++c) addCharacter(bytes, c);
    addCharacter(bytes, high);
  }

  std::uint64_t compiledSize(std::uint32_t index) const {
    const Node& node = nodes_[index];
    std::uint64_t size = kItemSize + node.text.size() * 2;
    if (node.kind == Kind::Bytes && !node.bytes.single()) size = kClassSize;
    for (auto part = node.firstPart; part != kNone; part = nodes_[part].nextSibling) {
      size += compiledSize(part);
    }
    const bool isGroup = node.kind == Kind::Repeat && nodes_[node.firstPart].kind != Kind::Bytes;
    if (!isGroup) return size;
    return size * (node.max == kUnlimited ? node.min + 1 : node.max);
  }

  std::string_view pattern_;
  std::vector<Node>& nodes_;
  std::size_t at_ = 0;
  bool isCaseless_ = false;
  bool isLarge_;  // the compiled size may exceed the bound, so it is computed
};

std::optional<ExpressionTree> ExpressionTree::parse(std::string_view pattern) try {
  ExpressionTree tree;
  tree.root_ = ExpressionParser(pattern, tree).parse();
  return tree;
} catch (const NotUnderstood&) {
  return std::nullopt;
}

bool ExpressionTree::isAnchored(std::uint32_t index) const {
  const Node& node = nodes_[index];
  if (node.kind == Kind::Start) return true;
  if (node.kind == Kind::Choice) {
    bool result = true;
    forEachPart(node, [&](auto part) { result = result && isAnchored(part); });
    return result;
  }
  if (node.kind != Kind::Sequence) return false;
  auto part = node.firstPart;
  while (part != kNone && readsNothing(nodes_[part]) && !isAnchored(part)) {
    part = nodes_[part].nextSibling;
  }
  return part != kNone && isAnchored(part);
}

}  // namespace sourcetype
