#include "util/line_filter.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "util/utf8.h"

namespace sourcetype {
namespace {

using Kind = ExpressionTree::Kind;
using Node = ExpressionTree::Node;

constexpr auto kMaxFirstBytes = static_cast<std::uint32_t>(LineCounts::kPositions);
// A set of more bytes excludes so little that it is the last one.
constexpr std::size_t kMaxTellingBytes = 128;
// Steps of an expression that are followed. Where they end, a line may go on with any bytes.
constexpr std::size_t kMaxSteps = 1000;
// Looking for texts in longer lines, or for more of them, can cost more than the search that it saves.
constexpr std::size_t kMaxTextLine = 512;
constexpr std::size_t kMaxTexts = 3;

constexpr std::size_t kTripleSize = 3;

template <class Visit>
void forEachPart(const ExpressionTree& tree, const Node& node, Visit visit) {
  for (auto i = node.firstPart; i != ExpressionTree::kNone; i = tree.node(i).nextSibling) visit(i);
}

bool readsNothing(const Node& node) {
  return node.kind == Kind::Empty || node.kind == Kind::Ahead;
}

// Whether a match can only begin where a line does.
bool isAnchored(const ExpressionTree& tree, std::uint32_t index) {
  const Node& node = tree.node(index);
  if (node.kind == Kind::Start) return true;
  if (node.kind == Kind::Choice) {
    bool result = true;
    forEachPart(tree, node, [&](auto part) { result = result && isAnchored(tree, part); });
    return result;
  }
  if (node.kind != Kind::Sequence) return false;
  auto part = node.firstPart;
  while (part != ExpressionTree::kNone && readsNothing(tree.node(part))) {
    part = tree.node(part).nextSibling;
  }
  return part != ExpressionTree::kNone && isAnchored(tree, part);
}

// The bytes that a part reads at least; fewer for a choice.
std::size_t minBytes(const ExpressionTree& tree, std::uint32_t index) {
  const Node& node = tree.node(index);
  if (node.kind == Kind::Bytes) return 1;
  if (node.kind == Kind::Text) return node.text.size();
  if (node.kind == Kind::Repeat) return node.min * minBytes(tree, node.firstPart);
  std::size_t bytes = 0;
  if (node.kind != Kind::Sequence) return bytes;
  forEachPart(tree, node, [&](auto part) { bytes += minBytes(tree, part); });
  return bytes;
}

// The bytes that the first positions of a match can have. An expression becomes steps: read a byte
// of a set, go on at either of two steps, or end. All ways through the steps are followed at once.
class FirstBytes {
 public:
  explicit FirstBytes(const ExpressionTree& tree) : tree_(tree) {
    constexpr std::size_t kUsualSteps = 100;
    steps_.reserve(kUsualSteps);
    writeStart(tree.node(tree.root()));
    steps_.push_back({.action = Action::End});
  }

  std::vector<ByteSet> find() {
    std::vector<ByteSet> first;
    reached_.assign(steps_.size(), 0);
    follow(0);
    while (!hasEnd_ && first.size() < kMaxFirstBytes) {
      ByteSet bytes;
      for (const auto step : current_) bytes.add(steps_[step].bytes);
      first.push_back(bytes);
      if (bytes.size() > kMaxTellingBytes) break;
      ++round_;
      const auto read = std::exchange(current_, {});
      for (const auto step : read) follow(step + 1);
    }
    return first;
  }

 private:
  enum class Action : std::uint8_t { Read, Either, Jump, Stop, End };
  struct Step {
    Action action = Action::Read;
    ByteSet bytes = {};
    std::uint32_t target = 0;  // of Jump; of Either, whose other way is the next step
  };

  std::uint32_t position() const { return static_cast<std::uint32_t>(steps_.size()); }

  // Only as many parts of a sequence as read enough bytes.
  void writeStart(const Node& root) {
    if (root.kind != Kind::Sequence) {
      write(tree_.root());
      return;
    }
    std::size_t bytes = 0;
    for (auto part = root.firstPart; part != ExpressionTree::kNone && bytes < kMaxFirstBytes;
         part = tree_.node(part).nextSibling) {
      write(part);
      bytes += minBytes(tree_, part);
    }
  }

  void write(std::uint32_t index) {
    if (steps_.size() >= kMaxSteps) {
      steps_.push_back({.action = Action::End});
      return;
    }
    const Node& node = tree_.node(index);
    switch (node.kind) {
      case Kind::Empty:
      case Kind::Ahead:
      case Kind::Start:
        return;
      case Kind::Text:
        for (const char c : node.text) writeByte(c);
        return;
      case Kind::Bytes:
        writeBytes(node.bytes);
        return;
      case Kind::Sequence:
        forEachPart(tree_, node, [this](auto part) { write(part); });
        return;
      case Kind::Choice:
        writeChoice(node);
        return;
      case Kind::Repeat:
        writeRepeat(node);
        return;
    }
  }

  void writeByte(char c) {
    ByteSet bytes;
    bytes.add(static_cast<unsigned char>(c));
    steps_.push_back({.bytes = bytes});
  }

  void writeBytes(const ByteSet& bytes) {
    steps_.push_back({.bytes = bytes});
    if (!bytes.contains(0x80)) return;
    ByteSet continuations;
    continuations.add(0x80, 0xBF);
    writeLoop([&] { steps_.push_back({.bytes = continuations}); });
  }

  // Writes what `body` writes, and a way past it.
  template <class Body>
  void writeOptional(Body body) {
    const auto either = position();
    steps_.push_back({.action = Action::Either});
    body();
    steps_[either].target = position();
  }

  template <class Body>
  void writeLoop(Body body) {
    const auto start = position();
    writeOptional([&] {
      body();
      steps_.push_back({.action = Action::Jump, .target = start});
    });
  }

  void writeChoice(const Node& node) {
    std::vector<std::uint32_t> ends;
    forEachPart(tree_, node, [&](auto part) {
      writeOptional([&] {
        write(part);
        ends.push_back(position());
        steps_.push_back({.action = Action::Jump});
      });
    });
    steps_.push_back({.action = Action::Stop});  // past the last alternative
    for (const auto end : ends) steps_[end].target = position();
  }

  void writeRepeat(const Node& node) {
    const auto min = std::min(node.min, kMaxFirstBytes);
    for (std::uint32_t i = 0; i < min; ++i) write(node.firstPart);
    const auto more = node.max - min;
    if (more > kMaxFirstBytes) {
      writeLoop([&] { write(node.firstPart); });
      return;
    }
    for (std::uint32_t i = 0; i < more; ++i) writeOptional([&] { write(node.firstPart); });
  }

  // Adds the steps that read, and that are reached from a step without reading.
  void follow(std::uint32_t index) {
    waiting_.push_back(index);
    while (!waiting_.empty()) {
      const auto at = waiting_.back();
      waiting_.pop_back();
      if (reached_[at] > round_) continue;
      reached_[at] = round_ + 1;
      const Step& step = steps_[at];
      switch (step.action) {
        case Action::Read:
          current_.push_back(at);
          break;
        case Action::Either:
          waiting_.push_back(at + 1);
          [[fallthrough]];
        case Action::Jump:
          waiting_.push_back(step.target);
          break;
        case Action::Stop:
          break;
        case Action::End:
          hasEnd_ = true;
          break;
      }
    }
  }

  const ExpressionTree& tree_;
  std::vector<Step> steps_;
  std::vector<std::uint32_t> current_;  // the steps that read the next byte
  std::vector<std::uint32_t> waiting_;
  std::vector<std::uint32_t> reached_;  // by step: 1 + the last round that reached it
  std::uint32_t round_ = 0;
  bool hasEnd_ = false;
};

// Calls visit(byte) for single bytes that every match contains, in their order, and visit(nullopt)
// where something else can stand between two of them. Calls choose(node) for each choice.
template <class Visit, class Choose>
void visitRequired(const ExpressionTree& tree, std::uint32_t index, const Visit& visit,
                   const Choose& choose) {
  const Node& node = tree.node(index);
  const auto visitParts = [&] {
    forEachPart(tree, node, [&](auto part) { visitRequired(tree, part, visit, choose); });
  };
  switch (node.kind) {
    case Kind::Empty:
    case Kind::Start:
      return;
    case Kind::Sequence:
      visitParts();
      return;
    case Kind::Text:
      for (const char c : node.text) visit(static_cast<unsigned char>(c));
      return;
    case Kind::Bytes:
      visit(node.bytes.single());
      return;
    case Kind::Choice:
      visit(std::nullopt);
      choose(node);
      return;
    case Kind::Ahead:
    case Kind::Repeat:
      break;
  }
  visit(std::nullopt);
  if (node.min > 0) visitParts();
  visit(std::nullopt);
}

ByteSet requiredBytes(const ExpressionTree& tree, std::uint32_t index) {
  ByteSet bytes;
  const auto read = [&](std::optional<unsigned char> byte) {
    if (byte) bytes.add(*byte);
  };
  const auto choose = [&](const Node& choice) {
    ByteSet common;
    common.invert();
    forEachPart(tree, choice,
                [&](auto alternative) { common.intersect(requiredBytes(tree, alternative)); });
    bytes.add(common);
  };
  visitRequired(tree, index, read, choose);
  return bytes;
}

using Texts = std::vector<std::string>;

std::size_t shortest(const Texts& texts) {
  return std::ranges::min_element(texts, {}, &std::string::size)->size();
}

// Sets of texts. Every match contains a text of each set.
std::vector<Texts> requiredTexts(const ExpressionTree& tree, std::uint32_t index) {
  std::vector<Texts> sets;
  std::string run;
  const auto endRun = [&] {
    if (run.size() >= kTripleSize) sets.push_back({run});
    run.clear();
  };
  const auto read = [&](std::optional<unsigned char> byte) {
    if (!byte) return endRun();
    run += static_cast<char>(*byte);
  };
  // Of each alternative, the set with the longest texts.
  const auto choose = [&](const Node& choice) {
    Texts texts;
    bool haveAll = true;
    forEachPart(tree, choice, [&](auto alternative) {
      const auto own = requiredTexts(tree, alternative);
      haveAll = haveAll && !own.empty();
      if (!haveAll) return;
      const auto& best = *std::ranges::max_element(own, {}, shortest);
      texts.insert(texts.end(), best.begin(), best.end());
    });
    if (haveAll) sets.push_back(std::move(texts));
  };
  visitRequired(tree, index, read, choose);
  endRun();
  return sets;
}

// The sets of the items that an expression begins with, up to one that is not a fixed number of
// bytes.
std::vector<ByteSet> plainStart(const ExpressionTree& tree) {
  std::vector<ByteSet> first;
  const auto add = [&](const ByteSet& bytes, std::size_t count) {
    first.insert(first.end(), std::min(count, kMaxFirstBytes - first.size()), bytes);
  };
  const Node& root = tree.node(tree.root());
  if (root.kind != Kind::Sequence) return first;
  for (auto i = root.firstPart; i != ExpressionTree::kNone; i = tree.node(i).nextSibling) {
    const Node& part = tree.node(i);
    if (part.kind == Kind::Start || readsNothing(part)) continue;
    for (const char c : part.text) {
      ByteSet bytes;
      bytes.add(static_cast<unsigned char>(c));
      add(bytes, 1);
    }
    if (part.kind == Kind::Text) continue;
    const Node& item = part.kind == Kind::Repeat ? tree.node(part.firstPart) : part;
    if (item.kind != Kind::Bytes || part.min == 0) break;
    add(item.bytes, part.min);
    if (part.min != part.max || item.bytes.contains(0x80)) break;
  }
  return first;
}

}  // namespace

std::size_t LineCounts::numberOf(std::string_view triple) {
  constexpr unsigned kFactor = 131;
  const auto number =
      (byteAt(triple, 0) * kFactor + byteAt(triple, 1)) * kFactor + byteAt(triple, 2);
  return number % kTriples;
}

LineCounts::LineCounts(std::vector<std::string_view> lines) : lines_(std::move(lines)) {
  for (const auto line : lines_) {
    const auto positions = std::min(line.size(), kPositions);
    for (std::size_t i = 0; i < positions; ++i) ++starts_[i][byteAt(line, i)];
    if (line.size() > kMaxLine) {
      ++longLines_;
      continue;
    }
    ByteSet bytes;
    for (const char c : line) bytes.add(static_cast<unsigned char>(c));
    bytes.visit([this](unsigned char byte) { ++bytes_[byte]; });
  }
}

void LineCounts::countTriples() {
  triples_.assign(kTriples, 0);
  std::vector<std::uint32_t> lastLineWith(kTriples, 0);
  std::uint32_t number = 0;
  for (const auto line : lines_) {
    ++number;
    if (line.size() > kMaxLine) continue;
    for (std::size_t i = 0; i + kTripleSize <= line.size(); ++i) {
      const auto triple = numberOf(line.substr(i));
      if (std::exchange(lastLineWith[triple], number) != number) ++triples_[triple];
    }
  }
}

std::size_t LineCounts::at(std::size_t position, const ByteSet& bytes) const {
  std::size_t lines = 0;
  bytes.visit([&](unsigned char byte) { lines += starts_[position][byte]; });
  return lines;
}

std::size_t LineCounts::with(std::string_view text) {
  if (triples_.empty()) countTriples();
  std::size_t lines = lines_.size() - longLines_;
  for (std::size_t i = 0; i + kTripleSize <= text.size(); ++i) {
    lines = std::min<std::size_t>(lines, triples_[numberOf(text.substr(i))]);
  }
  return longLines_ + lines;
}

std::optional<LineFilter> LineFilter::of(std::string_view pattern) {
  const auto tree = ExpressionTree::parse(pattern);
  if (!tree) return std::nullopt;
  LineFilter filter;
  if (isAnchored(*tree, tree->root())) filter.first_ = plainStart(*tree);
  filter.required_ = requiredBytes(*tree, tree->root());
  return filter;
}

void LineFilter::refine(std::string_view pattern) {
  const auto tree = ExpressionTree::parse(pattern);
  if (!tree) return;
  if (isAnchored(*tree, tree->root())) first_ = FirstBytes(*tree).find();
  someTexts_ = requiredTexts(*tree, tree->root());
}

std::size_t LineFilter::maxAdmitted(LineCounts& lines) const {
  std::size_t admitted = ~std::size_t{0};
  required_.visit([&](unsigned char byte) { admitted = std::min(admitted, lines.with(byte)); });
  for (std::size_t i = 0; i < first_.size(); ++i) {
    admitted = std::min(admitted, lines.at(i, first_[i]));
  }
  for (const auto& texts : someTexts_) {
    std::size_t withOne = 0;
    for (const auto& text : texts) withOne += lines.with(text);
    admitted = std::min(admitted, withOne);
  }
  return admitted;
}

bool LineFilter::hasTexts(std::string_view line) const {
  if (line.size() > kMaxTextLine) return true;
  return std::ranges::all_of(someTexts_, [&](const Texts& texts) {
    return texts.size() > kMaxTexts || std::ranges::any_of(texts, [&](const std::string& text) {
             return line.find(text) != std::string_view::npos;
           });
  });
}

}  // namespace sourcetype
