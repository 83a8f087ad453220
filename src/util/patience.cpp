#include "util/patience.h"

#include "platform/environment.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("Regex");

// Lines on which an expression may reach its limits.
constexpr int kMostCostlyLines = 8;

// Useful expressions take a quarter of this for a byte at most, where they run over each word again
// from each of its letters, and mostly some 10 ns.
constexpr std::chrono::nanoseconds kMostTime = std::chrono::seconds(1);
constexpr std::chrono::nanoseconds kMostTimePerByte{500};

}  // namespace

// The thread's time does not go on while others have the processor, but takes long to find out.
bool Patience::isTimeOver() const {
  const auto most = kMostTime + kMostTimePerByte * bytes_;
  return spent_ > most && threadTime() - begin_ > most;
}

bool Patience::match(const Regex& regex, std::string_view line, MatchResult& result) {
  if (isOver_) return false;
  if (bytes_ == 0) begin_ = threadTime();
  const auto begin = coarseTime();
  const auto answer = regex.tryMatch(line, result);
  spent_ += coarseTime() - begin;
  bytes_ += line.size();
  if (answer == Regex::Answer::TooCostly) ++costlyLines_;
  isOver_ = costlyLines_ == kMostCostlyLines || isTimeOver();
  if (isOver_) {
    logWarn(kLog, "The expression %s costs too much; it is not tried on the file's other lines.",
            regex.pattern());
  }
  return answer == Regex::Answer::Match;
}

}  // namespace sourcetype
