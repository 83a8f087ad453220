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

constexpr auto kMaxFirstBytes = static_cast<std::uint32_t>(LineStarts::kPositions);
// A set of more bytes excludes so little that it is the last one.
constexpr std::size_t kMaxTellingBytes = 128;
// Steps of an expression that are followed. Where they end, a line may go on with any bytes.
constexpr std::size_t kMaxSteps = 1000;
// Looking for a text in longer lines can cost more than the search that it saves.
constexpr std::size_t kMaxTextLine = 512;

template <class Visit>
void forEachPart(const ExpressionTree& tree, const Node& node, Visit visit) {
  for (auto i = node.firstPart; i != ExpressionTree::kNone; i = tree.node(i).nextSibling) visit(i);
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
  while (part != ExpressionTree::kNone && tree.node(part).kind == Kind::Empty) {
    part = tree.node(part).nextSibling;
  }
  return part != ExpressionTree::kNone && isAnchored(tree, part);
}

// The bytes that a part reads at least; fewer for a choice.
std::size_t minBytes(const ExpressionTree& tree, std::uint32_t index) {
  const Node& node = tree.node(index);
  if (node.kind == Kind::Bytes) return 1;
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
  enum class Action : std::uint8_t { Read, Either, Jump, End };
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
      case Kind::Start:
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
    // Past the last alternative there is no way: the step there has no bytes.
    steps_.push_back({});
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

// The longest text that stands in every match.
class LongestText {
 public:
  explicit LongestText(const ExpressionTree& tree) : tree_(tree) {
    read(tree.root());
    endRun();
  }
  std::string take() { return std::move(longest_); }

 private:
  void read(std::uint32_t index) {
    const Node& node = tree_.node(index);
    switch (node.kind) {
      case Kind::Empty:
      case Kind::Start:
        return;
      case Kind::Sequence:
        forEachPart(tree_, node, [this](auto part) { read(part); });
        return;
      case Kind::Choice:
        endRun();
        return;
      case Kind::Bytes:
        readBytes(node.bytes);
        return;
      case Kind::Repeat:
        break;
    }
    endRun();
    if (node.min == 0) return;
    read(node.firstPart);
    endRun();
  }

  void readBytes(const ByteSet& bytes) {
    if (bytes.size() == 1) {
      bytes.visit([&](unsigned char byte) { run_ += static_cast<char>(byte); });
    } else {
      endRun();
    }
  }

  void endRun() {
    if (run_.size() > longest_.size()) longest_ = run_;
    run_.clear();
  }

  const ExpressionTree& tree_;
  std::string run_;
  std::string longest_;
};

}  // namespace

std::optional<LineFilter> LineFilter::of(std::string_view pattern) {
  const auto tree = ExpressionTree::parse(pattern);
  if (!tree) return std::nullopt;
  LineFilter filter;
  if (isAnchored(*tree, tree->root())) filter.first_ = FirstBytes(*tree).find();
  filter.text_ = LongestText(*tree).take();
  return filter;
}

void LineStarts::add(std::string_view line) {
  const auto positions = std::min(line.size(), kPositions);
  for (std::size_t i = 0; i < positions; ++i) ++counts_[i][byteAt(line, i)];
}

std::size_t LineStarts::count(std::size_t position, const ByteSet& bytes) const {
  std::size_t lines = 0;
  bytes.visit([&](unsigned char byte) { lines += counts_[position][byte]; });
  return lines;
}

std::size_t LineFilter::maxAdmitted(const LineStarts& lines) const {
  std::size_t admitted = ~std::size_t{0};
  for (std::size_t i = 0; i < first_.size(); ++i) {
    admitted = std::min(admitted, lines.count(i, first_[i]));
  }
  return admitted;
}

bool LineFilter::hasText(std::string_view line) const {
  return line.size() > kMaxTextLine || line.find(text_) != std::string_view::npos;
}

}  // namespace sourcetype
