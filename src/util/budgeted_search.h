// One search of a compiled expression, within limits of steps. Private to util/regex.cpp.
//
// How a search is bounded:
// - An expression from configuration is interpreted, and its searches are metered: each draws on a
//   limit of its own and on the caller's budget (see search_meter.h). A search that reaches either
//   is no match. The subject is never cut.
// - Metering costs about half as much again. An expression that can only match at the start of a
//   short line is tried without it first, with so few steps that it cannot cost much; most lines
//   fail or match within them.
// - An expression of the program's own may be compiled to machine code, which counts little.
// - The interpreter's backtracking frames and the stack of machine code are bounded in bytes, and
//   so is the length of a pattern.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

#include "util/match_budget.h"
#include "util/match_workspace.h"
#include "util/pcre_code.h"
#include "util/search_meter.h"

namespace sourcetype::pcre {

// Code that was compiled with PCRE2_AUTO_CALLOUT.
struct MeteredCode {
  const pcre2_code& code;
  const ItemCosts& costs;
};

// One search; the library's answer. Its groups are in `space`.
int execute(Workspace& space, const pcre2_code& code, std::string_view subject,
            std::uint32_t options, std::size_t lastStart);

// The same for a match at offset 0 alone, by machine code: without the checks of arguments.
int executeMachineCodeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject);

// The same at the cost of `budget`; PCRE2_ERROR_MATCHLIMIT when the search costs too much.
int searchMetered(Workspace& space, const MeteredCode& metered, std::string_view subject,
                  std::uint32_t options, std::size_t lastStart, MatchBudget& budget);

// The longest subject of a light search, in bytes.
constexpr std::size_t kMaxLightSubject = 512;

// A search at offset 0 alone without a meter, in a few steps. Nothing when it needs more than
// those.
std::optional<int> searchLightly(Workspace& space, const pcre2_code& plain,
                                 std::string_view subject, std::uint32_t options,
                                 MatchBudget& budget);

}  // namespace sourcetype::pcre
