// Stanza names that match many names: "source::...\access*", "host::web*".
//
//   const StanzaPattern pattern("source::/var/log/*.log");
//   pattern.match("source::/var/log/a.log", budget) == StanzaPattern::Answer::Match
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

// True for a name with "*" or "..." after the first "::", and for every name that begins with
// "host::".
bool isStanzaPattern(std::string_view name);

// The expression that has to match a whole name; nothing when the stanza name is not a pattern.
// After the first "::",
//   "..."  becomes ".*"
//   "*"    becomes a run of characters other than the separator of paths
//   "."    becomes "\."
//   "\"    becomes "\\" if a backslash is literal in this form
// All other characters, and everything up to the "::", stay and have their meaning in an
// expression. After "host::" comes "(?i)": the names of hosts match in upper and lower case.
std::optional<std::string> expandStanzaPattern(std::string_view stanzaName,
                                               PathForm form = nativePathForm());

// The name of one pattern stanza. Cheap to create: the expression is compiled when the first name
// has the literal text of the pattern. match() may be called from several threads.
class StanzaPattern {
 public:
  // The object matches nothing if the name is not a pattern.
  explicit StanzaPattern(std::string_view stanzaName, PathForm form = nativePathForm());
  StanzaPattern(StanzaPattern&&) noexcept;
  StanzaPattern& operator=(StanzaPattern&&) noexcept;
  ~StanzaPattern();

  const std::string& name() const { return name_; }

  // Match: the expression matches `wholeName` from start to end, including the part up to the "::".
  // Invalid: the expression does not compile. TooCostly: the search exceeded its limit or the
  // budget.
  enum class Answer { NoMatch, Match, TooCostly, Invalid };
  Answer match(std::string_view wholeName, MatchBudget& budget) const;

  // Logs at WARN why the expression is Invalid.
  void logError() const;

 private:
  struct Compiled;

  // False only if the expression cannot match. Comparing is far cheaper than compiling.
  bool hasLiteralTextOf(std::string_view wholeName) const;

  std::string name_;
  PathForm form_;
  // A matching name begins with the first prefixSize_ bytes of name_ and ends with its last
  // suffixSize_ bytes.
  std::size_t prefixSize_ = 0;
  std::size_t suffixSize_ = 0;
  bool isPlain_ = false;  // name_ has only literal text and wildcards
  std::string text_;      // a matching name contains it, in any case; only if name_ is not plain
  std::unique_ptr<Compiled> compiled_;
};

}  // namespace sourcetype
