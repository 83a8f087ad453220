// Regular expressions (PCRE2, 8-bit, UTF mode).
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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

// A pattern that does not compile. The text is "Regex: " and the library's reason.
class RegexException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

class LogCategory;

// Tells at WARN that an expression from configuration does not compile. `error`: the text of its
// RegexException; `stanza` and `key`: where it stands, the key empty for the name of a stanza.
void reportInvalidRegex(const LogCategory& category, std::string_view pattern,
                        std::string_view error, std::string_view stanza, std::string_view key);

// Where the groups of one match stand in its subject: group 0 is the whole match.
class MatchResult {
 public:
  // Groups of the expression, group 0 included, 341 at most; those that took no part are absent.
  // 0 when there was no match.
  std::size_t groupCount() const { return offsets_.size() / 2; }
  bool has(std::size_t group) const { return group < groupCount() && start(group) != kAbsent; }
  // Byte offsets in the subject; need has(group).
  std::size_t start(std::size_t group) const { return offsets_[2 * group]; }
  std::size_t end(std::size_t group) const { return offsets_[2 * group + 1]; }
  // Start and end of each group in turn, equal where a group is absent.
  std::span<const std::size_t> offsets() const { return offsets_; }
  // The group's text, empty when absent. `subject` is what was matched.
  std::string_view text(std::size_t group, std::string_view subject) const {
    return has(group) ? subject.substr(start(group), end(group) - start(group))
                      : std::string_view();
  }

 private:
  friend class Regex;
  static constexpr std::size_t kAbsent = ~std::size_t{0};  // as the library marks it

  std::vector<std::size_t> offsets_;  // start and end of each group
};

// A compiled expression. Immutable: one object may be matched from several threads. Subjects may be
// any bytes; an invalid UTF-8 sequence matches nothing. Every Unicode newline ends a line for "^",
// "$" and ".", and "\R" matches each. Moving moves a pointer; an object that was moved from can
// only be assigned to.
//
//   const Regex regex(pattern);                      // throws RegexException
//   if (MatchResult found; regex.match(line, found)) use(found.text(1, line));
//
// A search that costs more than its limit (4 million steps and 64 a byte, see MatchBudget) is no
// match. The steps do not depend on the machine, and the subject is always searched as a whole.
class Regex {
 public:
  // Machine code is about three times as fast as the interpreter, but its searches are not metered.
  // It is for expressions of the program itself, never for those of configuration.
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

  // Search finds a match anywhere. Whole demands that the expression spans the subject, trying
  // every alternative. Partial also takes a subject that ends inside a possible match, when there
  // is no complete one: then only group 0 is there, from the start of that match to the subject's
  // end.
  bool match(std::string_view subject, Mode mode = Mode::Search) const;
  bool match(std::string_view subject, MatchResult& result, Mode mode = Mode::Search) const;

  // The same at the cost of `budget`. TooCostly: the search reached its limit or the budget's end.
  enum class Answer { NoMatch, Match, TooCostly };
  Answer tryMatch(std::string_view subject, MatchResult& result, MatchBudget& budget,
                  Mode mode = Mode::Search) const;

  // The same as match(), and moves `subject` past the end of the match.
  bool consume(std::string_view& subject, MatchResult& result, Mode mode = Mode::Search) const;

  // Start of the first match. `anchoredAtStart`: only one at offset 0 counts; `requireWhole`: only
  // one as long as the subject.
  struct FindOptions {
    bool anchoredAtStart = false;
    bool requireWhole = false;
  };
  std::optional<std::size_t> find(std::string_view subject, FindOptions options) const;
  std::optional<std::size_t> find(std::string_view subject) const { return find(subject, {}); }

  // Capture groups without group 0.
  std::size_t groupCount() const;
  // The number of a named group, nothing when there is none of that name.
  std::optional<std::size_t> groupNumber(std::string_view name) const;
  // The numbers of all named groups, by name.
  const std::map<std::string, std::size_t, std::less<>>& groupNumbers() const;
  // True when the library found that a match can only begin at offset 0.
  bool isAnchored() const;
  const std::string& pattern() const;

 private:
  struct Program;
  std::unique_ptr<const Program> program_;
};

// Whether Regex(pattern) does not throw.
bool compiles(std::string_view pattern);

}  // namespace sourcetype
