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
#include "util/regex.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <limits>
#include <mutex>
#include <new>
#include <optional>
#include <utility>

#include "util/logging.h"
#include "util/search_meter.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("Regex");

// \C could cut a character; the offset limit is what bounds a window.
constexpr std::uint32_t kAlwaysOn =
    PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C | PCRE2_USE_OFFSET_LIMIT;

// Bytes of a pattern. What the library can hold at most is about as long when compiled.
constexpr std::size_t kMaxPatternBytes = std::size_t{64} * 1024;

// Nested parentheses in a pattern; the compilers recurse on the machine stack for each.
constexpr std::uint32_t kMaxNesting = 250;

// Groups reported at most, group 0 included: an offset vector of 1024 integers, three a group.
constexpr std::uint32_t kMaxGroups = 341;

// KiB of backtracking frames in the interpreter: some 10^5 repetitions of a group.
constexpr std::uint32_t kHeapLimitKib = 32 * 1024;

// Steps back that the library may take from one start position. The interpreter's searches reach
// their own limit first; machine code has no other.
constexpr std::uint32_t kMatchLimit = 1'000'000;

// Bytes of stack for machine code: address space, of which pages come in as they are touched.
constexpr std::size_t kJitStackStart = std::size_t{32} * 1024;
constexpr std::size_t kJitStackMax = std::size_t{4} * 1024 * 1024;

struct PcreDeleter {
  void operator()(pcre2_code* code) const { pcre2_code_free(code); }
  void operator()(pcre2_compile_context* context) const { pcre2_compile_context_free(context); }
  void operator()(pcre2_match_context* context) const { pcre2_match_context_free(context); }
  void operator()(pcre2_match_data* data) const { pcre2_match_data_free(data); }
  void operator()(pcre2_jit_stack* stack) const { pcre2_jit_stack_free(stack); }
};
template <class T>
using PcrePtr = std::unique_ptr<T, PcreDeleter>;
using CodePtr = PcrePtr<pcre2_code>;

template <class T>
PcrePtr<T> owned(T* made) {
  if (made == nullptr) throw std::bad_alloc();
  return PcrePtr<T>(made);
}

// Allocates through operator new, so that running out of memory ends the run in the usual way and a
// good expression is not taken for a faulty one.
pcre2_general_context* memoryContext() {
  static pcre2_general_context* const kContext = pcre2_general_context_create(
      [](PCRE2_SIZE size, void*) { return ::operator new(size, std::nothrow); },
      [](void* memory, void*) { ::operator delete(memory); }, nullptr);
  return kContext;
}

PCRE2_SPTR bytes(std::string_view text) {
  return reinterpret_cast<PCRE2_SPTR>(text.data() == nullptr ? "" : text.data());
}

// Made at the first compilation and only read afterwards.
pcre2_compile_context* compileContext() {
  static const auto kContext = [] {
    auto made = owned(pcre2_compile_context_create(memoryContext()));
    pcre2_set_newline(made.get(), PCRE2_NEWLINE_ANY);
    pcre2_set_bsr(made.get(), PCRE2_BSR_UNICODE);
    pcre2_set_max_pattern_length(made.get(), kMaxPatternBytes);
    pcre2_set_parens_nest_limit(made.get(), kMaxNesting);
    return made;
  }();
  return kContext.get();
}

struct CompileError {
  int code = 0;
  std::size_t offset = 0;

  std::string text() const {
    std::array<PCRE2_UCHAR, 256> buffer{};
    pcre2_get_error_message(code, buffer.data(), buffer.size());
    return reinterpret_cast<const char*>(buffer.data());
  }
};

CodePtr compile(std::string_view pattern, std::uint32_t options, CompileError& error) {
  return CodePtr(pcre2_compile(bytes(pattern), pattern.size(), options, &error.code, &error.offset,
                               compileContext()));
}

bool isAscii(std::string_view text) {
  unsigned char bits = 0;
  for (const char c : text) bits |= static_cast<unsigned char>(c);
  return bits < 0x80;
}

// Where the library has no machine code for this processor or pattern, the interpreter matches.
void compileToMachineCode(pcre2_code& code) {
  pcre2_jit_compile(&code, PCRE2_JIT_COMPLETE);
}

// What matching writes to, which allocates nothing once it has grown.
struct Workspace {
  PcrePtr<pcre2_match_data> data = owned(pcre2_match_data_create(kMaxGroups, memoryContext()));
  PcrePtr<pcre2_match_context> context = owned(pcre2_match_context_create(memoryContext()));
  PcrePtr<pcre2_jit_stack> jitStack{pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr)};
  std::unique_ptr<Workspace> next;  // among the spare ones

  Workspace() {
    pcre2_set_heap_limit(context.get(), kHeapLimitKib);
    pcre2_set_match_limit(context.get(), kMatchLimit);
    pcre2_jit_stack_assign(context.get(), nullptr, jitStack.get());
  }

  // Start and end of the groups of the last match.
  const PCRE2_SIZE* offsets() const { return pcre2_get_ovector_pointer(data.get()); }
};

// Workspaces that no match uses: as many as there were matches at a time. Where there is one at a
// time, the first is all that is needed, without a lock.
class SpareWorkspaces {
 public:
  std::unique_ptr<Workspace> take() {
    if (auto* first = first_.exchange(nullptr)) return std::unique_ptr<Workspace>(first);
    const std::scoped_lock lock(mutex_);
    auto taken = std::move(others_);
    if (!taken) return std::make_unique<Workspace>();
    others_ = std::move(taken->next);
    return taken;
  }

  void giveBack(std::unique_ptr<Workspace> space) noexcept {
    std::unique_ptr<Workspace> replaced(first_.exchange(space.release()));
    if (!replaced) return;
    const std::scoped_lock lock(mutex_);
    replaced->next = std::move(others_);
    others_ = std::move(replaced);
  }

 private:
  std::atomic<Workspace*> first_ = nullptr;
  std::mutex mutex_;
  std::unique_ptr<Workspace> others_;
};

// A workspace for the time of one match and of reading what it found. A thread_local one would do
// without a lock, but those of mingw-w64 may have lost their memory when they are destroyed.
class UsedWorkspace {
 public:
  UsedWorkspace() : space_(spare().take()) {}
  UsedWorkspace(const UsedWorkspace&) = delete;
  UsedWorkspace& operator=(const UsedWorkspace&) = delete;
  ~UsedWorkspace() { spare().giveBack(std::move(space_)); }

  Workspace& operator*() const { return *space_; }
  Workspace* operator->() const { return space_.get(); }

 private:
  // Stays until the process ends: expressions may be matched in destructors of static objects.
  static SpareWorkspaces& spare() {
    static auto& all = *new SpareWorkspaces;
    return all;
  }

  std::unique_ptr<Workspace> space_;
};

// Steps that one search may take: some 5 ms, and 0.1 us a byte. A search that needs more runs over
// the same text again and again, as "\w+[!?]" does from each of ten thousand letters in a row.
constexpr std::uint64_t kMaxSearchCost = 4'000'000;
constexpr std::uint64_t kMaxSearchCostPerByte = 64;

// Steps for starting the matcher, and the bytes that it checks and skips in one step.
constexpr std::uint64_t kStartCost = 64;
constexpr std::size_t kSkippedBytesPerStep = 8;

// A light search: the steps back that it may take and the length of its subject. Between two steps
// back the matcher runs over the subject once at most.
constexpr std::uint32_t kLightMatchLimit = 64;
constexpr std::size_t kMaxLightSubject = 512;

// What it is charged: an eighth of the most that it can cost. Most take much less.
constexpr std::uint64_t lightCost(std::size_t subjectSize) {
  return kStartCost + kLightMatchLimit * subjectSize / 8;
}

// One search; the library's answer. Its groups are in `space`.
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

// The same for a match at offset 0 alone, by machine code: without the checks of arguments.
int executeMachineCodeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject) {
  pcre2_set_offset_limit(space.context.get(), 0);
  return pcre2_jit_match(&code, bytes(subject), subject.size(), 0, 0, space.data.get(),
                         space.context.get());
}

enum class Outcome { None, TooCostly, Complete, Partial };

Outcome outcomeOf(int answer) {
  if (answer >= 0) return Outcome::Complete;
  if (answer == PCRE2_ERROR_PARTIAL) return Outcome::Partial;
  const bool isCostly = answer == PCRE2_ERROR_MATCHLIMIT || answer == PCRE2_ERROR_HEAPLIMIT;
  return isCostly ? Outcome::TooCostly : Outcome::None;
}

struct Extent {
  std::size_t start;
  std::size_t end;

  bool spans(std::string_view subject) const { return start == 0 && end == subject.size(); }
};

// The match that `space` holds.
Extent lastMatch(const Workspace& space) {
  return {.start = space.offsets()[0], .end = space.offsets()[1]};
}

// Only the limit of each search counts.
constexpr MatchBudget kUnlimited(std::numeric_limits<std::uint64_t>::max());

}  // namespace

void reportInvalidRegex(const LogCategory& category, std::string_view pattern,
                        std::string_view error, std::string_view stanza, std::string_view key) {
  logWarn(category, "Invalid regex %s -- %s (in [%s]%s%s)", pattern, error, stanza,
          key.empty() ? "" : " ", key);
}

const std::uint32_t Regex::kCaseless = PCRE2_CASELESS;

struct Regex::Program {
  Program(std::string_view pattern, std::uint32_t compileOptions, Study study)
      : source(pattern), options(compileOptions | kAlwaysOn), isMetered(study == Study::No) {
    CompileError error;
    main = compile(source, options, error);
    if (!main) throw RegexException("Regex: " + error.text());
    if (!isMetered) compileToMachineCode(*main);
    readInfo();
    if (isMetered && isLarge()) requireMeteredForm();
  }

  // Reporting each item makes an expression up to four times as large.
  bool isLarge() const {
    constexpr std::size_t kLargestSafe = kMaxPatternBytes / 4;
    std::size_t size = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_SIZE, &size);
    return size > kLargestSafe;
  }

  void requireMeteredForm() const {
    CompileError error;
    if (!compile(source, options | PCRE2_AUTO_CALLOUT, error)) {
      throw RegexException("Regex: " + error.text());
    }
  }

  // The source in another form, compiled when first asked for; null when it does not compile so.
  struct Form {
    CodePtr code;
    ItemCosts costs;
    std::once_flag made;
  };

  // Options of forms beside `options`. Subjects of ASCII alone need not be looked at for invalid
  // sequences: that takes longer than to see that a line does not begin like the expression.
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

  // The source between "(?:" and ")\z", anchored; null when that does not compile, as after a
  // comment without an end.
  const Form& whole() const {
    std::call_once(wholeForm.made, [this] {
      make(wholeForm, std::string(kWholePrefix) + source + ")\\z", options | PCRE2_ANCHORED,
           isMetered ? Metering::Yes : Metering::No);
      if (wholeForm.code && !isMetered) compileToMachineCode(*wholeForm.code);
    });
    return wholeForm;
  }

  static void make(Form& form, std::string_view text, std::uint32_t formOptions,
                   Metering metering) {
    CompileError ignored;
    const bool isMeteredForm = metering == Metering::Yes;
    form.code = compile(text, formOptions | (isMeteredForm ? PCRE2_AUTO_CALLOUT : 0), ignored);
    if (form.code && isMeteredForm) form.costs = ItemCosts(*form.code, text);
  }

  // The library's answer for the first match that begins at one of the bytes up to `lastStart`.
  int search(Workspace& space, std::string_view subject, std::uint32_t runOptions,
             std::size_t lastStart, MatchBudget& budget) const {
    if (!isMetered) {
      // Where machine code has no room, the interpreter's frames may have.
      if (anchored && hasMachineCode && runOptions == 0) {
        const int answer = executeMachineCodeAtStart(space, *main, subject);
        if (answer != PCRE2_ERROR_JIT_STACKLIMIT) return answer;
      }
      return execute(space, *main, subject, runOptions, lastStart);
    }
    const Subject kind = isAscii(subject) ? Subject::Ascii : Subject::Any;
    if (kind == Subject::Ascii) runOptions |= PCRE2_NO_UTF_CHECK;
    if (anchored && kind == Subject::Ascii && subject.size() <= kMaxLightSubject) {
      if (const auto answer = searchLightly(space, subject, runOptions, budget)) return *answer;
    }
    return searchMetered(space, form(Metering::Yes, kind), subject, runOptions, lastStart, budget);
  }

  // Nothing when the search needs more than its few steps.
  std::optional<int> searchLightly(Workspace& space, std::string_view subject,
                                   std::uint32_t runOptions, MatchBudget& budget) const {
    const Form& plain = form(Metering::No, Subject::Ascii);
    if (!plain.code) return std::nullopt;
    budget.spend(lightCost(subject.size()));
    pcre2_set_match_limit(space.context.get(), kLightMatchLimit);
    const int answer = execute(space, *plain.code, subject, runOptions, 0);
    pcre2_set_match_limit(space.context.get(), kMatchLimit);
    if (answer == PCRE2_ERROR_MATCHLIMIT) return std::nullopt;
    return answer;
  }

  static int searchMetered(Workspace& space, const Form& metered, std::string_view subject,
                           std::uint32_t runOptions, std::size_t lastStart, MatchBudget& budget) {
    if (!metered.code || budget.isSpent()) return PCRE2_ERROR_MATCHLIMIT;
    const std::uint64_t limit = kMaxSearchCost + kMaxSearchCostPerByte * subject.size();
    SearchMeter meter(*space.context, metered.costs, std::min(limit, budget.left()));
    meter.add(kStartCost + subject.size() / kSkippedBytesPerStep);
    const int answer = execute(space, *metered.code, subject, runOptions, lastStart);
    budget.spend(meter.spent());
    return answer;
  }

  Outcome match(Workspace& space, std::string_view subject, Mode mode, MatchBudget& budget) const {
    if (mode != Mode::Whole) {
      // Soft: a complete match goes before a partial one, and has its groups.
      const std::uint32_t partial = mode == Mode::Partial ? PCRE2_PARTIAL_SOFT : 0;
      return outcomeOf(search(space, subject, partial, kAnywhere, budget));
    }
    const Outcome outcome = outcomeOf(matchWhole(space, subject, budget));
    const bool isPart = outcome == Outcome::Complete && !lastMatch(space).spans(subject);
    return isPart ? Outcome::None : outcome;
  }

  int matchWhole(Workspace& space, std::string_view subject, MatchBudget& budget) const {
    const Form& variant = whole();
    if (!variant.code) return search(space, subject, 0, kAnywhere, budget);
    return isMetered ? searchMetered(space, variant, subject, 0, 0, budget)
                     : execute(space, *variant.code, subject, 0, 0);
  }

  void readInfo() {
    std::uint32_t captures = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_CAPTURECOUNT, &captures);
    groups = captures + 1;
    std::uint32_t allOptions = 0;
    const int answer = pcre2_pattern_info(main.get(), PCRE2_INFO_ALLOPTIONS, &allOptions);
    if (answer != 0) {
      logError(kLog, "Failed to lookup PCRE options with return=%d (regex=%s).", answer, source);
    } else {
      anchored = (allOptions & PCRE2_ANCHORED) != 0;
    }
    std::size_t machineCodeSize = 0;
    pcre2_pattern_info(main.get(), PCRE2_INFO_JITSIZE, &machineCodeSize);
    hasMachineCode = machineCodeSize > 0;
    readNames();
  }

  // Entries of the library's table: two bytes of number, high byte first, and the name up to a NUL.
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

Regex::Regex(std::string_view pattern, std::uint32_t options, Study study)
    : program_(std::make_unique<const Program>(pattern, options, study)) {}
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
  const std::size_t count = std::min<std::size_t>(program_->groups, kMaxGroups);
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
  const Extent found = lastMatch(*space);
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
  return compile(pattern, kAlwaysOn, ignored) != nullptr;
}

}  // namespace sourcetype
