// Regular expressions (PCRE2, 8-bit, UTF mode).
//
//   const Regex regex(pattern);  // throws RegexException
//   if (MatchResult found; regex.match(line, found)) use(found.text(1, line));
//
// For expressions from configuration, spend a budget:
//   if (regex.tryMatch(line, found, budget) == Regex::Answer::Match) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "util/match_budget.h"

namespace sourcetype {

// A pattern that does not compile. Its text is "Regex: " and the library's reason.
class RegexException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class LogCategory;

// Logs at WARN that an expression from configuration does not compile. `error` is the text of its
// RegexException. `stanza` and `key` name the setting; `key` is empty if the expression is the name
// of a stanza.
void reportInvalidRegex(const LogCategory& category, std::string_view pattern,
                        std::string_view error, std::string_view stanza, std::string_view key);

// The positions of the groups of one match in its subject. Group 0 is the whole match.
class MatchResult {
 public:
  // The number of groups of the expression, including group 0, at most 341; 0 if there was no
  // match. A group that took no part in the match is absent.
  std::size_t groupCount() const { return offsets_.size() / 2; }
  bool has(std::size_t group) const { return group < groupCount() && start(group) != kAbsent; }
  // Byte offsets in the subject; need has(group).
  std::size_t start(std::size_t group) const { return offsets_[2 * group]; }
  std::size_t end(std::size_t group) const { return offsets_[2 * group + 1]; }
  // Start and end of group 0, of group 1, and so on; both are equal for an absent group.
  std::span<const std::size_t> offsets() const { return offsets_; }
  // The group's text; empty if it is absent. `subject` is the subject of the match.
  std::string_view text(std::size_t group, std::string_view subject) const {
    return has(group) ? subject.substr(start(group), end(group) - start(group))
                      : std::string_view();
  }

 private:
  friend class Regex;
  static constexpr std::size_t kAbsent = ~std::size_t{0};  // the library's value

  std::vector<std::size_t> offsets_;
};

// A compiled expression.
// - Immutable: several threads may use one object. Moving moves a pointer; an object that was moved
//   from can only be assigned to.
// - A subject may be any bytes. Nothing matches an invalid UTF-8 sequence.
// - Every Unicode newline ends a line for "^", "$" and "."; "\R" matches each of them.
// - A search that needs more than 4 million steps, plus 64 for each byte, is no match (see
//   MatchBudget). The number of steps does not depend on the machine. The subject is never cut.
class Regex {
 public:
  // Machine code is about three times as fast as the interpreter, but its searches have no limit of
  // steps. It is for expressions of the program itself, never for those of configuration.
  enum class Compile { ForInterpreter, ToMachineCode };
  enum class Mode { Search = 0, Whole = 1, Partial = 2 };

  // Compile options; UTF mode is always on.
  static constexpr std::uint32_t kNoOptions = 0;
  static const std::uint32_t kCaseless;

  // Throws RegexException.
  explicit Regex(std::string_view pattern, std::uint32_t options = kNoOptions,
                 Compile target = Compile::ForInterpreter);
  Regex(Regex&& other) noexcept;
  Regex& operator=(Regex&& other) noexcept;
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;
  ~Regex();

  // Search: a match anywhere in the subject.
  // Whole: a match of the whole subject. Every alternative is tried.
  // Partial: the same as Search. Without a match, the subject may also end inside a possible match;
  // group 0 is then from the start of that match to the end of the subject, and the others are
  // absent.
  bool match(std::string_view subject, Mode mode = Mode::Search) const;
  bool match(std::string_view subject, MatchResult& result, Mode mode = Mode::Search) const;

  // The same, and spends `budget`. TooCostly: the search reached its limit, or the budget is spent.
  enum class Answer { NoMatch, Match, TooCostly };
  Answer tryMatch(std::string_view subject, MatchResult& result, MatchBudget& budget,
                  Mode mode = Mode::Search) const;

  // The same as match(). Removes from `subject` everything up to the end of the match.
  bool consume(std::string_view& subject, MatchResult& result, Mode mode = Mode::Search) const;

  // The start of the first match. `anchoredAtStart`: only a match at offset 0 counts.
  // `requireWhole`: only a match of the whole subject counts.
  struct FindOptions {
    bool anchoredAtStart = false;
    bool requireWhole = false;
  };
  std::optional<std::size_t> find(std::string_view subject, FindOptions options) const;
  std::optional<std::size_t> find(std::string_view subject) const { return find(subject, {}); }

  // The number of capture groups, without group 0.
  std::size_t groupCount() const;
  // The number of the group with a name; nothing if there is none.
  std::optional<std::size_t> groupNumber(std::string_view name) const;
  // The numbers of all named groups.
  const std::map<std::string, std::size_t, std::less<>>& groupNumbers() const;
  // Whether a match can only begin at offset 0, as far as the library can tell.
  bool isAnchored() const;
  const std::string& pattern() const;

 private:
  struct Program;
  std::unique_ptr<const Program> program_;
};

// Whether `pattern` is a valid expression.
bool compiles(std::string_view pattern);

}  // namespace sourcetype
