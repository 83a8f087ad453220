#include "util/patience.h"

#include <algorithm>

#include "platform/environment.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("Regex");

// What one line can take. More was spent on something else, such as sleep.
constexpr std::chrono::nanoseconds kMostOfOneLine = std::chrono::milliseconds(200);

constexpr std::chrono::nanoseconds kNoTime{0};

}  // namespace

bool Patience::match(const Regex& regex, std::string_view line, MatchResult& result) {
  if (isOver()) return false;
  const bool isTimed = !regex.isAnchored();
  const auto begin = isTimed ? coarseTime() : kNoTime;
  const auto answer = regex.tryMatch(line, result);
  if (isTimed) spent_ += std::min(coarseTime() - begin, kMostOfOneLine);
  if (answer == Regex::Answer::TooCostly) ++costlyLines_;
  if (isOver()) {
    logWarn(kLog, "The expression %s costs too much; it is not tried on the file's other lines.",
            regex.pattern());
  }
  return answer == Regex::Answer::Match;
}

}  // namespace sourcetype
