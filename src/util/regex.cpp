#include "util/regex.h"

#include <algorithm>
#include <array>
#include <limits>
#include <mutex>

#include "util/budgeted_search.h"
#include "util/logging.h"
#include "util/match_workspace.h"
#include "util/pcre_code.h"

namespace sourcetype {
namespace {

using pcre::CodePtr;
using pcre::CompileError;
using pcre::UsedWorkspace;
using pcre::Workspace;

constexpr LogCategory kRegexLog("Regex");

bool isAscii(std::string_view text) {
  unsigned char bits = 0;
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

enum class Outcome { None, TooCostly, Complete, Partial };

Outcome outcomeOf(int answer) {
  if (answer >= 0) return Outcome::Complete;
  if (answer == PCRE2_ERROR_PARTIAL) return Outcome::Partial;
  const bool isCostly = answer == PCRE2_ERROR_MATCHLIMIT || answer == PCRE2_ERROR_HEAPLIMIT;
  return isCostly ? Outcome::TooCostly : Outcome::None;
}

bool spans(const pcre::Extent& extent, std::string_view subject) {
  return extent.start == 0 && extent.end == subject.size();
}

// For searches without a caller's budget: only the limit of each search counts.
constexpr MatchBudget kUnlimited(std::numeric_limits<std::uint64_t>::max());

}  // namespace

void reportInvalidRegex(const LogCategory& category, std::string_view pattern,
                        std::string_view error, std::string_view stanza, std::string_view key) {
  logWarn(category, "Invalid regex %s -- %s (in [%s]%s%s)", pattern, error, stanza,
          key.empty() ? "" : " ", key);
}

const std::uint32_t Regex::kCaseless = PCRE2_CASELESS;

struct Regex::Program {
  Program(std::string_view pattern, std::uint32_t compileOptions, Compile target)
      : source(pattern),
        options(compileOptions | pcre::kAlwaysOn),
        isMetered(target == Compile::ForInterpreter) {
    CompileError error;
    main = pcre::compile(source, options, error);
    if (!main) throw RegexException("Regex: " + error.text());
    if (!isMetered) pcre::compileToMachineCode(*main);
    readInfo();
    if (isMetered && isLarge()) requireMeteredForm();
  }

  // Reporting each item makes an expression up to four times as large.
  bool isLarge() const {
    constexpr std::size_t kLargestSafe = pcre::kMaxPatternBytes / 4;
    std::size_t size = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_SIZE, &size);
    return size > kLargestSafe;
  }

  void requireMeteredForm() const {
    CompileError error;
    if (!pcre::compile(source, options | PCRE2_AUTO_CALLOUT, error)) {
      throw RegexException("Regex: " + error.text());
    }
  }

  // The source compiled with other options, when a search first needs it. `code` is null if it does
  // not compile with them.
  struct Form {
    CodePtr code;
    ItemCosts costs;
    std::once_flag made;
  };

  // What a form is for. Subjects of ASCII need no check for invalid sequences. The check takes
  // longer than to find that a line does not begin with a match.
  enum class Metering { No, Yes };
  enum class Subject { Any, Ascii };

  const Form& form(Metering metering, Subject subject) const {
    const bool isAsciiForm = subject == Subject::Ascii;
    const bool isMeteredForm = metering == Metering::Yes;
    Form& wanted = forms[(isAsciiForm ? 2U : 0U) + (isMeteredForm ? 1U : 0U)];
    std::call_once(wanted.made, [&] {
      std::uint32_t formOptions = options;
      if (isAsciiForm) formOptions &= ~PCRE2_MATCH_INVALID_UTF;
      make(wanted, source, formOptions, metering);
    });
    return wanted;
  }

  // The source between "(?:" and ")\z", anchored. Its code is null if that does not compile, for
  // example when the source ends with a comment.
  const Form& whole() const {
    std::call_once(wholeForm.made, [this] {
      make(wholeForm, std::string(kWholePrefix) + source + ")\\z", options | PCRE2_ANCHORED,
           isMetered ? Metering::Yes : Metering::No);
      if (wholeForm.code && !isMetered) pcre::compileToMachineCode(*wholeForm.code);
    });
    return wholeForm;
  }

  static void make(Form& form, std::string_view text, std::uint32_t formOptions,
                   Metering metering) {
    CompileError ignored;
    const bool isMeteredForm = metering == Metering::Yes;
    form.code =
        pcre::compile(text, formOptions | (isMeteredForm ? PCRE2_AUTO_CALLOUT : 0), ignored);
    if (form.code && isMeteredForm) form.costs = ItemCosts(*form.code, text);
  }

  // Returns the library's result code for the first match that begins at `lastStart` or before.
  int search(Workspace& space, std::string_view subject, std::uint32_t runOptions,
             std::size_t lastStart, MatchBudget& budget) const {
    if (!isMetered) {
      // The interpreter has more room for its frames than machine code has stack.
      if (anchored && hasMachineCode && runOptions == 0) {
        const int answer = pcre::executeMachineCodeAtStart(space, *main, subject);
        if (answer != PCRE2_ERROR_JIT_STACKLIMIT) return answer;
      }
      return pcre::execute(space, *main, subject, runOptions, lastStart);
    }
    const Subject kind = isAscii(subject) ? Subject::Ascii : Subject::Any;
    if (kind == Subject::Ascii) runOptions |= PCRE2_NO_UTF_CHECK;
    if (anchored && kind == Subject::Ascii && subject.size() <= pcre::kMaxLightSubject) {
      const Form& plain = form(Metering::No, Subject::Ascii);
      const auto answer = plain.code
                              ? pcre::searchLightly(space, *plain.code, subject, runOptions, budget)
                              : std::nullopt;
      if (answer) return *answer;
    }
    return searchMetered(space, form(Metering::Yes, kind), subject, runOptions, lastStart, budget);
  }

  static int searchMetered(Workspace& space, const Form& metered, std::string_view subject,
                           std::uint32_t runOptions, std::size_t lastStart, MatchBudget& budget) {
    if (!metered.code) return PCRE2_ERROR_MATCHLIMIT;
    return pcre::searchMetered(space, {.code = *metered.code, .costs = metered.costs}, subject,
                               runOptions, lastStart, budget);
  }

  Outcome match(Workspace& space, std::string_view subject, Mode mode, MatchBudget& budget) const {
    if (mode != Mode::Whole) {
      // Soft: the library prefers a complete match to a partial one.
      const std::uint32_t partial = mode == Mode::Partial ? PCRE2_PARTIAL_SOFT : 0;
      return outcomeOf(search(space, subject, partial, kAnywhere, budget));
    }
    const Outcome outcome = outcomeOf(matchWhole(space, subject, budget));
    const bool isPart = outcome == Outcome::Complete && !spans(space.lastMatch(), subject);
    return isPart ? Outcome::None : outcome;
  }

  int matchWhole(Workspace& space, std::string_view subject, MatchBudget& budget) const {
    const Form& variant = whole();
    if (!variant.code) return search(space, subject, 0, kAnywhere, budget);
    return isMetered ? searchMetered(space, variant, subject, 0, 0, budget)
                     : pcre::execute(space, *variant.code, subject, 0, 0);
  }

  void readInfo() {
    std::uint32_t captures = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_CAPTURECOUNT, &captures);
    groups = captures + 1;
    std::uint32_t allOptions = 0;
    const int answer = pcre2_pattern_info(main.get(), PCRE2_INFO_ALLOPTIONS, &allOptions);
    if (answer != 0) {
      logError(kRegexLog, "Failed to lookup PCRE options with return=%d (regex=%s).", answer,
               source);
    } else {
      anchored = (allOptions & PCRE2_ANCHORED) != 0;
    }
    std::size_t machineCodeSize = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_JITSIZE, &machineCodeSize);
    hasMachineCode = machineCodeSize > 0;
    readNames();
  }

  // An entry of the library's table is a number of two bytes, high byte first, and a name that ends
  // with NUL.
  void readNames() {
    std::uint32_t count = 0;
    std::uint32_t width = 0;
    PCRE2_SPTR table = nullptr;
    pcre2_pattern_info(main.get(), PCRE2_INFO_NAMECOUNT, &count);
    pcre2_pattern_info(main.get(), PCRE2_INFO_NAMEENTRYSIZE, &width);
    pcre2_pattern_info(main.get(), PCRE2_INFO_NAMETABLE, &table);
    for (std::uint32_t i = 0; i < count; ++i) {
      const PCRE2_SPTR entry = table + std::size_t{i} * width;
      names.emplace(reinterpret_cast<const char*>(entry + 2),
                    (std::size_t{entry[0]} << 8U) | entry[1]);
    }
  }

  static constexpr std::size_t kAnywhere = PCRE2_UNSET;
  static constexpr std::string_view kWholePrefix = "(?:";

  std::string source;
  std::uint32_t options;
  bool isMetered;
  CodePtr main;
  std::size_t groups = 0;  // group 0 included
  bool anchored = false;
  bool hasMachineCode = false;
  std::map<std::string, std::size_t, std::less<>> names;
  mutable std::array<Form, 4> forms;
  mutable Form wholeForm;
};

Regex::Regex(std::string_view pattern, std::uint32_t options, Compile target)
    : program_(std::make_unique<const Program>(pattern, options, target)) {}
Regex::Regex(Regex&& other) noexcept = default;
Regex& Regex::operator=(Regex&& other) noexcept = default;
Regex::~Regex() = default;

bool Regex::match(std::string_view subject, Mode mode) const {
  const UsedWorkspace space;
  MatchBudget unlimited = kUnlimited;
  const Outcome outcome = program_->match(*space, subject, mode, unlimited);
  return outcome == Outcome::Complete || outcome == Outcome::Partial;
}

bool Regex::match(std::string_view subject, MatchResult& result, Mode mode) const {
  MatchBudget unlimited = kUnlimited;
  return tryMatch(subject, result, unlimited, mode) == Answer::Match;
}

Regex::Answer Regex::tryMatch(std::string_view subject, MatchResult& result, MatchBudget& budget,
                              Mode mode) const {
  const UsedWorkspace space;
  const Outcome outcome = program_->match(*space, subject, mode, budget);
  result.offsets_.clear();
  if (outcome == Outcome::None) return Answer::NoMatch;
  if (outcome == Outcome::TooCostly) return Answer::TooCostly;
  static_assert(MatchResult::kAbsent == PCRE2_UNSET);
  const std::size_t count = std::min<std::size_t>(program_->groups, pcre::kMaxGroups);
  const std::size_t known = outcome == Outcome::Partial ? 1 : count;
  const PCRE2_SIZE* offsets = space->offsets();
  result.offsets_.assign(offsets, offsets + 2 * known);
  result.offsets_.resize(2 * count, MatchResult::kAbsent);
  return Answer::Match;
}

bool Regex::consume(std::string_view& subject, MatchResult& result, Mode mode) const {
  if (!match(subject, result, mode)) return false;
  subject.remove_prefix(result.end(0));
  return true;
}

std::optional<std::size_t> Regex::find(std::string_view subject, FindOptions options) const {
  const UsedWorkspace space;
  MatchBudget unlimited = kUnlimited;
  const std::size_t lastStart = options.anchoredAtStart ? 0 : Program::kAnywhere;
  const int answer = program_->search(*space, subject, 0, lastStart, unlimited);
  if (answer < 0) return std::nullopt;
  const pcre::Extent found = space->lastMatch();
  if (options.requireWhole && found.end - found.start != subject.size()) return std::nullopt;
  return found.start;
}

std::size_t Regex::groupCount() const {
  return program_->groups - 1;
}

std::optional<std::size_t> Regex::groupNumber(std::string_view name) const {
  const auto found = program_->names.find(name);
  if (found == program_->names.end()) return std::nullopt;
  return found->second;
}

const std::map<std::string, std::size_t, std::less<>>& Regex::groupNumbers() const {
  return program_->names;
}

bool Regex::isAnchored() const {
  return program_->anchored;
}

const std::string& Regex::pattern() const {
  return program_->source;
}

bool compiles(std::string_view pattern) {
  CompileError ignored;
  return pcre::compile(pattern, pcre::kAlwaysOn, ignored) != nullptr;
}

}  // namespace sourcetype
