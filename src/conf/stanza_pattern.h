// Stanza names that stand for many names: "source::...\access*", "host::web*".
#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/path_form.h"
#include "util/match_budget.h"

namespace sourcetype {

// True when "*" or "..." stands behind the first "::", and for every name that begins with
// "host::".
bool isStanzaPattern(std::string_view name);

// The expression that a name has to match as a whole; nothing when the stanza name is no pattern.
// Behind the first "::" and for "host::" under "(?i)",
//   "..."  becomes ".*"
//   "*"    becomes a run of characters other than the separator of paths
//   "."    becomes "\."
//   "\"    becomes "\\" where a backslash is literal
// and all else, the part up to the "::" included, stays as it is, with what it means in an
// expression.
std::optional<std::string> expandStanzaPattern(std::string_view stanzaName,
                                               PathForm form = nativePathForm());

// One pattern stanza. Cheap to make: the expression is compiled when a name first gets past the
// literal text at the ends of the pattern. match() may be called from several threads.
class StanzaPattern {
 public:
  // A name that is no pattern gives an object that matches nothing.
  explicit StanzaPattern(std::string_view stanzaName, PathForm form = nativePathForm());
  StanzaPattern(StanzaPattern&&) noexcept;
  StanzaPattern& operator=(StanzaPattern&&) noexcept;
  ~StanzaPattern();

  const std::string& name() const { return name_; }

  // Match: the expression spans all of `wholeName`, the part up to the "::" included. Invalid: it
  // does not compile. TooCostly: the search reached its limit or the end of the budget.
  enum class Answer { NoMatch, Match, TooCostly, Invalid };
  Answer match(std::string_view wholeName, MatchBudget& budget) const;

  // Says at WARN why the expression is Invalid.
  void logError() const;

 private:
  struct Compiled;

  // Comparing costs nothing beside compiling.
  bool hasLiteralTextOf(std::string_view wholeName) const;

  std::string name_;
  PathForm form_;
  // Every name that matches begins with this many bytes of name_ and ends with that many.
  std::size_t prefixSize_ = 0;
  std::size_t suffixSize_ = 0;
  bool isPlain_ = false;  // but for wildcards, there is only literal text between them
  std::unique_ptr<Compiled> compiled_;
};

}  // namespace sourcetype
