#include "util/line_automaton.h"

#include <algorithm>
#include <utility>

#include "util/utf8.h"

namespace sourcetype {

namespace {

using Kind = ExpressionTree::Kind;
using Node = ExpressionTree::Node;

// Where the steps end, a line may go on with any bytes.
constexpr std::size_t kMaxSteps = 1000;
// More repetitions are taken to be unlimited.
constexpr std::uint32_t kMaxCopies = 24;

// Of longer lines only the start is read. A search of such a line may cost too much, which ends the
// counting of matches, so the line must reach the search.
constexpr std::size_t kMaxWholeLine = 512;
constexpr std::size_t kStartOfLongLine = 24;

}  // namespace

// Writes the steps of an expression.
class StepWriter {
 public:
  StepWriter(const ExpressionTree& tree, std::vector<LineAutomaton::Step>& steps)
      : tree_(tree), steps_(steps) {
    constexpr std::size_t kUsualSteps = 200;
    steps_.reserve(kUsualSteps);
    if (!tree.isAnchored()) writeLoop([this] { writeRead(anyByte()); });
    write(tree.root());
    steps_.push_back({.action = Action::End});
  }

 private:
  using Action = LineAutomaton::Action;
  using StepNumber = LineAutomaton::StepNumber;

  static ByteSet anyByte() {
    ByteSet bytes;
    bytes.invert();
    return bytes;
  }

  StepNumber position() const { return static_cast<StepNumber>(steps_.size()); }

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
        for (const char c : node.text) writeRead(ByteSet::of(c));
        return;
      case Kind::Bytes:
        writeBytes(node.bytes);
        return;
      case Kind::Sequence:
        tree_.forEachPart(node, [this](auto part) { write(part); });
        return;
      case Kind::Choice:
        writeChoice(node);
        return;
      case Kind::Repeat:
        writeRepeat(node);
        return;
    }
  }

  void writeRead(const ByteSet& bytes) { steps_.push_back({.bytes = bytes}); }

  void writeBytes(const ByteSet& bytes) {
    writeRead(bytes);
    if (!bytes.contains(0x80)) return;
    ByteSet continuations;
    continuations.add(0x80, 0xBF);
    writeLoop([&] { writeRead(continuations); });
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
    std::vector<StepNumber> ends;
    tree_.forEachPart(node, [&](auto part) {
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
    const auto min = std::min(node.min, kMaxCopies);
    for (std::uint32_t i = 0; i < min; ++i) write(node.firstPart);
    const auto more = node.max - min;
    if (more > kMaxCopies) {
      writeLoop([&] { write(node.firstPart); });
      return;
    }
    for (std::uint32_t i = 0; i < more; ++i) writeOptional([&] { write(node.firstPart); });
  }

  const ExpressionTree& tree_;
  std::vector<LineAutomaton::Step>& steps_;
};

LineAutomaton::LineAutomaton(const ExpressionTree& tree) {
  const StepWriter writes(tree, steps_);
  lastRound_.resize(steps_.size());
  follow(0);
  trail_[0] = reachedState();
}

bool LineAutomaton::accepts(std::string_view line, std::size_t shared) {
  const bool isLong = line.size() > kMaxWholeLine;
  if (isLong) line = line.substr(0, kStartOfLongLine);
  auto at = std::min({shared, read_, line.size()});
  auto state = trail_[at];
  while (state < kMaxStates && at < line.size()) {
    const auto byte = byteAt(line, at++);
    const auto next = states_[state].next[byte];
    state = next == kUnknown ? findNext(state, byte) : next;
    if (at < trail_.size()) trail_[at] = state;
  }
  read_ = std::min(at, trail_.size() - 1);
  return state == kAccepted || (isLong && state != kFailed);
}

LineAutomaton::StateNumber LineAutomaton::findNext(StateNumber state, unsigned char byte) {
  ++round_;
  ByteSet alike;  // the bytes that lead to the same state
  alike.invert();
  for (const auto step : states_[state].steps) {
    ByteSet bytes = steps_[step].bytes;
    if (bytes.contains(byte)) {
      follow(static_cast<StepNumber>(step + 1));
    } else {
      bytes.invert();
    }
    alike.intersect(bytes);
  }
  const auto next = reachedState();
  alike.visit([&](unsigned char other) { states_[state].next[other] = next; });
  return next;
}

// Too many states count as accepted.
LineAutomaton::StateNumber LineAutomaton::reachedState() {
  auto steps = std::exchange(reading_, {});
  if (std::exchange(hasEnd_, false)) return kAccepted;
  if (steps.empty()) return kFailed;
  std::ranges::sort(steps);
  const auto found = numbers_.find(steps);
  if (found != numbers_.end()) return found->second;
  if (states_.size() == kMaxStates) return kAccepted;
  const auto number = static_cast<StateNumber>(states_.size());
  states_.push_back({.steps = steps, .next = {}});
  states_.back().next.fill(kUnknown);
  numbers_.emplace(std::move(steps), number);
  return number;
}

// Adds the steps that read, and that are reached from a step without reading.
void LineAutomaton::follow(StepNumber step) {
  waiting_.push_back(step);
  while (!waiting_.empty()) {
    const auto at = waiting_.back();
    waiting_.pop_back();
    if (std::exchange(lastRound_[at], round_) == round_) continue;
    switch (steps_[at].action) {
      case Action::Read:
        reading_.push_back(at);
        break;
      case Action::Either:
        waiting_.push_back(static_cast<StepNumber>(at + 1));
        [[fallthrough]];
      case Action::Jump:
        waiting_.push_back(steps_[at].target);
        break;
      case Action::Stop:
        break;
      case Action::End:
        hasEnd_ = true;
        break;
    }
  }
}

}  // namespace sourcetype
