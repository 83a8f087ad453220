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

namespace sourcetype {

// A pattern that does not compile. The text is "Regex: " and the library's reason.
class RegexException : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

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
// "$" and ".", and "\R" matches each. A match that would cost too much (see the limits in
// regex.cpp) counts as no match, and of a subject longer than 16 KiB only so much is searched, as
// if it ended there. Moving moves a pointer; an object that was moved from can only be assigned to.
class Regex {
 public:
  // Whether to compile to machine code, some three times as fast. It keeps no count of the steps
  // that repeats such as ".*.*.*x" take, so this is for expressions of the program's own.
  enum class Study { No, Yes };
  enum class Mode { Search = 0, Whole = 1, Partial = 2 };

  // Compile options; UTF mode is always on.
  static constexpr std::uint32_t kNoOptions = 0;
  static const std::uint32_t kCaseless;

  // Throws RegexException.
  explicit Regex(std::string_view pattern, std::uint32_t options = kNoOptions,
                 Study study = Study::No);
  Regex(Regex&& other) noexcept;
  Regex& operator=(Regex&& other) noexcept;
  Regex(const Regex&) = delete;
  Regex& operator=(const Regex&) = delete;
  ~Regex();

  // Search finds a match anywhere. Whole demands that the expression spans the subject, trying
  // every alternative. Partial also takes a subject that ends inside a possible match, when there
  // is no complete one: then only group 0 is there, from the begin of that match to the subject's
  // end.
  bool match(std::string_view subject, Mode mode = Mode::Search) const;
  bool match(std::string_view subject, MatchResult& result, Mode mode = Mode::Search) const;

  // The same, and tells a subject without a match from one that was given up for its cost, which
  // may have taken some 0.1 s.
  enum class Answer { NoMatch, Match, TooCostly };
  Answer tryMatch(std::string_view subject, MatchResult& result, Mode mode = Mode::Search) const;

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

}  // namespace sourcetype
