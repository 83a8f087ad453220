#include "util/patience.h"

#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("Regex");

}  // namespace

bool Patience::match(const Regex& regex, std::string_view line, MatchResult& result) {
  if (isOver()) return false;
  const auto answer = regex.tryMatch(line, result);
  if (answer == Regex::Answer::TooCostly) {
    ++costlyLines_;
    if (isOver()) {
      logWarn(kLog, "The expression %s costs too much; it is not tried on the file's other lines.",
              regex.pattern());
    }
  }
  return answer == Regex::Answer::Match;
}

}  // namespace sourcetype
