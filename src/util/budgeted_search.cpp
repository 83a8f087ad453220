#include "util/budgeted_search.h"

#include <algorithm>

namespace sourcetype::pcre {
namespace {

// Steps of one search: about 5 ms, and 0.1 us a byte. A search that needs more reads the same text
// many times, as "\w+[!?]" does from each of ten thousand letters in a row.
constexpr std::uint64_t kMaxSearchCost = 4'000'000;
constexpr std::uint64_t kMaxSearchCostPerByte = 64;

// Steps for starting the matcher, and the bytes that it skips in one step.
constexpr std::uint64_t kStartCost = 64;
constexpr std::size_t kSkippedBytesPerStep = 8;

// Steps back of a light search. Between two of them the matcher reads the subject at most once.
constexpr std::uint32_t kLightMatchLimit = 64;

// Steps that a light search spends: an eighth of its maximum. Most searches need much less.
constexpr std::uint64_t lightCost(std::size_t subjectSize) {
  return kStartCost + kLightMatchLimit * subjectSize / 8;
}

}  // namespace

int execute(Workspace& space, const pcre2_code& code, std::string_view subject,
            std::uint32_t options, std::size_t lastStart) {
  pcre2_set_offset_limit(space.context.get(), lastStart);
  const auto run = [&](std::uint32_t more) {
    return pcre2_match(&code, bytes(subject), subject.size(), 0, options | more, space.data.get(),
                       space.context.get());
  };
  const int answer = run(0);
  // The interpreter's frames have more room.
  return answer == PCRE2_ERROR_JIT_STACKLIMIT ? run(PCRE2_NO_JIT) : answer;
}

int executeMachineCodeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject) {
  pcre2_set_offset_limit(space.context.get(), 0);
  return pcre2_jit_match(&code, bytes(subject), subject.size(), 0, 0, space.data.get(),
                         space.context.get());
}

int searchMetered(Workspace& space, const MeteredCode& metered, std::string_view subject,
                  std::uint32_t options, std::size_t lastStart, MatchBudget& budget) {
  if (budget.isSpent()) return PCRE2_ERROR_MATCHLIMIT;
  const std::uint64_t limit = kMaxSearchCost + kMaxSearchCostPerByte * subject.size();
  SearchMeter meter(*space.context, metered.costs, std::min(limit, budget.left()));
  meter.add(kStartCost + subject.size() / kSkippedBytesPerStep);
  const int answer = execute(space, metered.code, subject, options, lastStart);
  budget.spend(meter.spent());
  return answer;
}

std::optional<int> searchLightly(Workspace& space, const pcre2_code& plain,
                                 std::string_view subject, std::uint32_t options,
                                 MatchBudget& budget) {
  budget.spend(lightCost(subject.size()));
  pcre2_set_match_limit(space.context.get(), kLightMatchLimit);
  const int answer = execute(space, plain, subject, options, 0);
  pcre2_set_match_limit(space.context.get(), kMatchLimit);
  if (answer == PCRE2_ERROR_MATCHLIMIT) return std::nullopt;
  return answer;
}

}  // namespace sourcetype::pcre
