// An automaton that accepts every line that an expression matches, and few others.
//
//   LineAutomaton automaton(tree);
//   if (!automaton.accepts(line)) return false;  // the expression does not match the line
//
// It reads a line once, at a few instructions a byte. Lookaheads and assertions always hold for it.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <string_view>
#include <vector>

#include "util/expression_tree.h"

namespace sourcetype {

class LineAutomaton {
 public:
  explicit LineAutomaton(const ExpressionTree& tree);

  // `shared`: the number of bytes at the start of the line that the line of the last call has too.
  // They are not read again.
  bool accepts(std::string_view line, std::size_t shared = 0);

 private:
  friend class StepWriter;

  // The expression as steps: read a byte of a set, go on at either of two steps, or end.
  enum class Action : std::uint8_t { Read, Either, Jump, Stop, End };
  using StepNumber = std::uint16_t;
  struct Step {
    Action action = Action::Read;
    StepNumber target = 0;  // of Jump; of Either, whose other way is the next step
    ByteSet bytes = {};     // of Read
  };

  // A state is the set of steps that can read the next byte. States are made for the lines that reach
  // them. Numbers from kMaxStates on are results.
  using StateNumber = std::uint8_t;
  static constexpr StateNumber kAccepted = std::numeric_limits<StateNumber>::max();
  static constexpr StateNumber kFailed = kAccepted - 1;
  static constexpr StateNumber kUnknown = kFailed - 1;
  static constexpr StateNumber kMaxStates = kUnknown;
  struct State {
    std::vector<StepNumber> steps;
    std::array<StateNumber, 256> next;  // by byte
  };

  StateNumber findNext(StateNumber state, unsigned char byte);
  StateNumber reachedState();
  void follow(StepNumber step);

  std::vector<Step> steps_;
  std::vector<State> states_;
  std::map<std::vector<StepNumber>, StateNumber> numbers_;

  // The states after the first bytes of the last line, of which so many were read.
  std::array<StateNumber, 128> trail_{};
  std::size_t read_ = 0;

  // What the last calls of follow() reached.
  std::vector<StepNumber> reading_;
  bool hasEnd_ = false;
  std::vector<StepNumber> waiting_;
  std::vector<std::uint32_t> lastRound_;  // by step
  std::uint32_t round_ = 1;
};

}  // namespace sourcetype
