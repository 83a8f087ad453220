// One search with a compiled expression, within limits. Private to regex.cpp.
//
// - Expressions from configuration are interpreted, and their searches are metered. Each search has
//   a limit of its own and spends the caller's budget (see search_meter.h). A search that reaches
//   either limit is no match. The subject is never cut.
// - Metering takes half as much time again. An expression that can only match at the start of a
//   short line is therefore tried without a meter first, with a limit of few steps back. Most lines
//   match or fail within that limit.
// - Expressions of the program itself may be machine code, whose only limit is kMatchLimit.
// - The interpreter's backtracking frames, the stack of machine code and the length of a pattern
//   are limited in bytes.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "util/match_budget.h"
#include "util/match_workspace.h"
#include "util/search_meter.h"

namespace sourcetype::pcre {

// Must be compiled with PCRE2_AUTO_CALLOUT.
struct MeteredCode {
  const pcre2_code& code;
  const ItemCosts& costs;
};

// Searches for a match that starts at `lastStart` or before. Returns the library's result code; the
// groups are in `space`.
int execute(Workspace& space, const pcre2_code& code, std::string_view subject,
            std::uint32_t options, std::size_t lastStart);

// The same for machine code that matches at offset 0 only. Skips the library's argument checks.
int executeMachineCodeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject);

// The same as execute(), and spends `budget`. PCRE2_ERROR_MATCHLIMIT when the search reaches its
// limit or the budget is spent.
int searchMetered(Workspace& space, const MeteredCode& metered, std::string_view subject,
                  std::uint32_t options, std::size_t lastStart, MatchBudget& budget);

// Bytes of the subject of a light search.
constexpr std::size_t kMaxLightSubject = 512;

// A search at offset 0 alone without a meter, in a few steps. Nothing when it needs more than
// those.
std::optional<int> searchLightly(Workspace& space, const pcre2_code& plain,
                                 std::string_view subject, std::uint32_t options,
                                 MatchBudget& budget);

}  // namespace sourcetype::pcre
