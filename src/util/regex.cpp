// Every match of the interpreter runs under limits, so that no pattern and no line holds the
// program up (machine code does not count what repeats of a single character do: see Regex::Study):
// - PCRE2 counts steps anew for each position it tries a match from; n positions of n steps each
//   are minutes in a line of a megabyte. So a search first gives every position a small share of
//   one budget. When a position wants more, the search goes on from the beginning in windows of
//   fewer positions with a larger share each, and gives up after kMaxRuns runs or kMostTime: its
//   cost is linear in the subject, while one position alone may still take a whole budget.
// - The interpreter's backtracking frames and the stack of machine code are bounded in bytes, and
//   so is the length of a pattern.
// A pattern can lower these limits by its own leading items such as (*LIMIT_MATCH=), never raise
// them.
#include "util/regex.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <mutex>
#include <new>
#include <utility>

#include "platform/environment.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

constexpr LogCategory kLog("Regex");

// \C could cut a character; the offset limit is what bounds a window.
constexpr std::uint32_t kAlwaysOn =
    PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C | PCRE2_USE_OFFSET_LIMIT;

// Bytes of a subject that are searched. No limit counts the characters that "\w+" runs over, and a
// search runs over them again from every position: 50 ms in a word of this length, minutes in one
// of a megabyte.
constexpr std::size_t kMaxSearchedBytes = std::size_t{16} * 1024;

// Bytes of a pattern. What the library can hold at most is about as long when compiled.
constexpr std::size_t kMaxPatternBytes = std::size_t{64} * 1024;

// Nested parentheses in a pattern; the compilers recurse on the machine stack for each.
constexpr std::uint32_t kMaxNesting = 250;

// Groups reported at most, group 0 included: an offset vector of 1024 integers, three a group.
constexpr std::uint32_t kMaxGroups = 341;

// KiB of backtracking frames in the interpreter: some 10^5 repetitions of a group.
constexpr std::uint32_t kHeapLimitKib = 32 * 1024;

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

// The library takes its memory from where everybody does, so that a lack of it ends the run in the
// same way instead of making a faulty expression of a good one.
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
void study(pcre2_code& code) {
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

// Steps of one run, all positions of its window together. A step takes some 10 ns in the
// interpreter.
std::size_t stepBudget(std::size_t subjectSize) {
  constexpr std::size_t kLeast = 250'000;
  constexpr std::size_t kPerByte = 32;  // in a long line, too, a position may try a few ways
  constexpr std::size_t kMost = 1'000'000'000;  // fits the library's counter
  return std::clamp(kPerByte * subjectSize, kLeast, kMost);
}

// Found by trial: with these, a line of which every position costs a thousandth of a budget is
// still searched to its end, and one hopeless position ends the search after a handful of runs.
constexpr int kMaxRuns = 64;

// For those runs together. They take a fifth of it unless each step runs over many characters, as
// "(?=\w*+)" does, which nothing counts.
constexpr std::chrono::milliseconds kMostTime{500};

constexpr std::size_t kShrink = 4;  // a window in which a position wanted more
constexpr std::size_t kGrow = 2;    // the window after one that was searched through

// Positions a match may begin at: `first` to `last`, both included.
struct Window {
  std::size_t first;
  std::size_t last;

  std::size_t positions() const { return last - first + 1; }
};

// One run of the library; its answer. The groups of a match are in `space`.
int runOnce(Workspace& space, const pcre2_code& code, std::string_view subject, Window window,
            std::uint32_t options, std::size_t stepsPerPosition) {
  pcre2_set_match_limit(space.context.get(), static_cast<std::uint32_t>(stepsPerPosition));
  pcre2_set_offset_limit(space.context.get(), window.last);
  const auto run = [&](std::uint32_t more) {
    return pcre2_match(&code, bytes(subject), subject.size(), window.first, options | more,
                       space.data.get(), space.context.get());
  };
  const int answer = run(0);
  // The interpreter's frames have more room.
  return answer == PCRE2_ERROR_JIT_STACKLIMIT ? run(PCRE2_NO_JIT) : answer;
}

// Tries a match at offset 0 alone, by machine code, which needs no limits for that: its stack is
// bounded and what it does not count is bounded by the subject.
int executeMachineCodeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject) {
  pcre2_set_match_limit(space.context.get(),
                        static_cast<std::uint32_t>(stepBudget(subject.size())));
  pcre2_set_offset_limit(space.context.get(), 0);
  return pcre2_jit_match(&code, bytes(subject), subject.size(), 0, 0, space.data.get(),
                         space.context.get());
}

// Tries a match at offset 0 alone.
int executeAtStart(Workspace& space, const pcre2_code& code, std::string_view subject,
                   std::uint32_t options = 0) {
  return runOnce(space, code, subject, {.first = 0, .last = 0}, options,
                 stepBudget(subject.size()));
}

// The last byte of the character that `offset` stands in: a window must not end within one.
std::size_t endOfCharacter(std::string_view subject, std::size_t offset) {
  const auto isContinuation = [&](std::size_t at) {
    return at < subject.size() && (static_cast<unsigned char>(subject[at]) & 0xC0U) == 0x80U;
  };
  while (isContinuation(offset + 1)) ++offset;
  return offset;
}

// Tries every position in turn, within the limits told at the top.
int executeSearch(Workspace& space, const pcre2_code& code, std::string_view subject,
                  std::uint32_t options) {
  const std::size_t budget = stepBudget(subject.size());
  Window window{.first = 0, .last = subject.size()};
  std::chrono::nanoseconds begin{0};  // of the second run
  for (int runs = 0; runs < kMaxRuns; ++runs) {
    if (runs == 1) begin = threadTime();
    if (runs > 1 && threadTime() - begin > kMostTime) break;
    const int answer = runOnce(space, code, subject, window, options,
                               std::max<std::size_t>(budget / window.positions(), 1));
    std::size_t next = 0;  // positions
    if (answer == PCRE2_ERROR_MATCHLIMIT && window.positions() > 1) {
      next = window.positions() / kShrink;
    } else if (answer == PCRE2_ERROR_NOMATCH && window.last < subject.size()) {
      next = window.positions() * kGrow;
      window.first = window.last + 1;
    } else {
      return answer;
    }
    const std::size_t last = window.first + std::max<std::size_t>(next, 1) - 1;
    window.last = std::min(endOfCharacter(subject, last), subject.size());
  }
  return PCRE2_ERROR_MATCHLIMIT;
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

}  // namespace

const std::uint32_t Regex::kCaseless = PCRE2_CASELESS;

struct Regex::Program {
  Program(std::string_view pattern, std::uint32_t compileOptions, Study studyChoice)
      : source(pattern), options(compileOptions), wantsStudy(studyChoice == Study::Yes) {
    CompileError error;
    main = compile(source, options | kAlwaysOn, error);
    if (!main) throw RegexException("Regex: " + error.text());
    if (wantsStudy) study(*main);
    readInfo();
  }

  // The source between "(?:" and ")\z", anchored; null when that does not compile, as behind a
  // comment without end. Made when first asked for: most expressions are only searched with.
  const pcre2_code* whole() const {
    std::call_once(wholeMade, [this] {
      CompileError ignored;
      wholeCode = compile("(?:" + source + ")\\z", options | kAlwaysOn | PCRE2_ANCHORED, ignored);
      if (wholeCode && wantsStudy) study(*wholeCode);
    });
    return wholeCode.get();
  }

  // For subjects of ASCII alone, which need not be looked at for invalid sequences: in the
  // interpreter that takes longer than to see that a line does not begin like the expression.
  const pcre2_code* ascii() const {
    std::call_once(asciiMade, [this] {
      CompileError ignored;
      asciiCode = compile(source, (options | kAlwaysOn) & ~PCRE2_MATCH_INVALID_UTF, ignored);
    });
    return asciiCode ? asciiCode.get() : main.get();
  }

  // The library's answer for the first match.
  int search(Workspace& space, std::string_view subject, std::uint32_t runOptions) const {
    const auto searched = subject.substr(0, kMaxSearchedBytes);
    if (anchored && hasMachineCode && runOptions == 0) {
      // The interpreter's frames have more room.
      const int answer = executeMachineCodeAtStart(space, *main, searched);
      if (answer != PCRE2_ERROR_JIT_STACKLIMIT) return answer;
    }
    const bool isPlain = !hasMachineCode && isAscii(searched);
    const pcre2_code& code = *(isPlain ? ascii() : main.get());
    if (isPlain) runOptions |= PCRE2_NO_UTF_CHECK;
    return anchored ? executeAtStart(space, code, searched, runOptions)
                    : executeSearch(space, code, searched, runOptions);
  }

  Outcome match(Workspace& space, std::string_view subject, Mode mode) const {
    if (mode != Mode::Whole) {
      // Soft: a complete match goes before a partial one, and has its groups.
      return outcomeOf(search(space, subject, mode == Mode::Partial ? PCRE2_PARTIAL_SOFT : 0));
    }
    const pcre2_code* variant = whole();
    const Outcome outcome = outcomeOf(variant != nullptr ? executeAtStart(space, *variant, subject)
                                                         : search(space, subject, 0));
    const bool isPart = outcome == Outcome::Complete && !lastMatch(space).spans(subject);
    return isPart ? Outcome::None : outcome;
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

  std::string source;
  std::uint32_t options;
  bool wantsStudy;
  CodePtr main;
  std::size_t groups = 0;  // group 0 included
  bool anchored = false;
  bool hasMachineCode = false;
  std::map<std::string, std::size_t, std::less<>> names;
  mutable std::once_flag wholeMade;
  mutable CodePtr wholeCode;
  mutable std::once_flag asciiMade;
  mutable CodePtr asciiCode;
};

Regex::Regex(std::string_view pattern, std::uint32_t options, Study study)
    : program_(std::make_unique<const Program>(pattern, options, study)) {}
Regex::Regex(Regex&& other) noexcept = default;
Regex& Regex::operator=(Regex&& other) noexcept = default;
Regex::~Regex() = default;

bool Regex::match(std::string_view subject, Mode mode) const {
  const UsedWorkspace space;
  const Outcome outcome = program_->match(*space, subject, mode);
  return outcome == Outcome::Complete || outcome == Outcome::Partial;
}

bool Regex::match(std::string_view subject, MatchResult& result, Mode mode) const {
  return tryMatch(subject, result, mode) == Answer::Match;
}

Regex::Answer Regex::tryMatch(std::string_view subject, MatchResult& result, Mode mode) const {
  const UsedWorkspace space;
  const Outcome outcome = program_->match(*space, subject, mode);
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
  const int answer = options.anchoredAtStart ? executeAtStart(*space, *program_->main, subject)
                                             : program_->search(*space, subject, 0);
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

}  // namespace sourcetype
