// Rules of props.conf against a count of every line. Input: props.conf and the lines of a log.
#include "classifier/rules.h"

#define PCRE2_CODE_UNIT_WIDTH 8
#include <pcre2.h>

#include <algorithm>
#include <cstdlib>
#include <map>
#include <memory>

#include "classifier/type_name.h"
#include "support.h"

namespace sourcetype::fuzzing {
namespace {

// Thrown when plain matching could take so long that the program's own matching may give up.
struct Costly {};

// A search within these limits takes less than a million steps of the program's meter.
constexpr std::uint32_t kMaxStepsBack = 500;
constexpr std::size_t kMaxCodeBytes = 1500;
constexpr std::size_t kMaxLine = 200;

template <auto free>
struct Deleter {
  template <class T>
  void operator()(T* made) const {
    free(made);
  }
};
using Code = std::unique_ptr<pcre2_code, Deleter<pcre2_code_free>>;

PCRE2_SPTR bytes(std::string_view text) {
  return reinterpret_cast<PCRE2_SPTR>(text.data() == nullptr ? "" : text.data());
}

// Null when the pattern does not compile.
Code compilePlainly(std::string_view pattern) {
  static auto* const context = pcre2_compile_context_create(nullptr);
  pcre2_set_newline(context, PCRE2_NEWLINE_ANY);
  constexpr auto kOptions = PCRE2_UTF | PCRE2_MATCH_INVALID_UTF | PCRE2_NEVER_BACKSLASH_C;
  int error = 0;
  PCRE2_SIZE offset = 0;
  return Code(pcre2_compile(bytes(pattern), pattern.size(), kOptions, &error, &offset, context));
}

bool matchesPlainly(const pcre2_code& code, std::string_view line) {
  static auto* const context = pcre2_match_context_create(nullptr);
  static auto* const data = pcre2_match_data_create(1, nullptr);
  pcre2_set_match_limit(context, kMaxStepsBack);
  if (line.size() > kMaxLine) throw Costly();
  const int answer = pcre2_match(&code, bytes(line), line.size(), 0, 0, data, context);
  if (answer < PCRE2_ERROR_NOMATCH) throw Costly();
  return answer >= 0;
}

// Matches among the tested lines, by the library alone.
std::size_t countSlowly(const Sample& sample, std::size_t lines, const std::string& pattern) {
  const Code code = compilePlainly(pattern);
  if (!code) return 0;
  std::size_t codeBytes = 0;
  pcre2_pattern_info(code.get(), PCRE2_INFO_SIZE, &codeBytes);
  if (codeBytes > kMaxCodeBytes) throw Costly();
  std::size_t count = 0;
  for (std::size_t i = 0; i < lines; ++i) count += matchesPlainly(*code, sample.line(i)) ? 1U : 0U;
  return count;
}

enum class Test { None, Passes, Fails };

Test testSlowly(const Sample& sample, const std::string& key, const std::string& pattern) {
  const bool isMore = key.starts_with("MORE_THAN");
  if (!isMore && !key.starts_with("LESS_THAN")) return Test::None;
  const auto underscore = key.find('_', 9);
  if (underscore == std::string::npos || key.size() < 11) return Test::None;
  const long long wanted = std::strtoll(key.c_str() + underscore + 1, nullptr, 10);
  const auto lines = std::min<std::size_t>(sample.lineCount(), 1000);
  const auto count = countSlowly(sample, lines, pattern);
  const auto percent = lines == 0 ? 0 : static_cast<long long>(100 * count / lines);
  return (isMore ? percent >= wanted : percent <= wanted) ? Test::Passes : Test::Fails;
}

bool passesSlowly(const Sample& sample, const PropertiesMap& rule) {
  std::vector<Test> tests;
  for (const auto& [key, entry] : rule.entries()) {
    tests.push_back(testSlowly(sample, key, entry.value));
  }
  std::erase(tests, Test::None);
  return !tests.empty() && std::ranges::count(tests, Test::Fails) == 0;
}

std::optional<std::string> findSlowly(ConfStore& store, const Sample& sample,
                                      std::string_view prefix) {
  for (const auto& name : store.stanzaNames(store.getProps(), prefix)) {
    PropertiesMap rule;
    store.getExactStanza(store.getProps(), rule, name);
    const auto& sourcetype = rule.get("sourcetype");
    if (!sourcetype.empty() && sourcetypeProblem(sourcetype).empty() &&
        passesSlowly(sample, rule)) {
      return sourcetype;
    }
  }
  return std::nullopt;
}

}  // namespace

std::vector<std::string> seeds() {
  return {
      joined({repositoryFile("etc/apps/bundled-databases/default/props.conf").substr(0, 900),
              repositoryFile("samples/dispatch.log").substr(0, 1000)}),
      joined({"[rule::a]\nsourcetype=a\nMORE_THAN_50=^x\nLESS_THAN2_10 = y$\n[delayedrule::b]\n"
              "sourcetype=b\nMORE_THAN_0=z\n",
              "x1\nx2\ny\nxy\n"}),
      joined({"[rule::a]\nsourcetype=a\nLESS_THAN_-1=(\nMORE_THAN__101=a*\n[rule::b]\n"
              "MORE_THAN_33=(a+)+$\nsourcetype=c",
              "aaaaaaaaaaaaaaaaaaaaaaaaaab\n\xFF\nb"}),
      // A line that takes more than a few steps back before others match, and a newline of
      // Unicode.
      joined({"[rule::a]\nsourcetype=a\nMORE_THAN_60=^(?:\\w|\\w\\w)*!\n", "abcdefgh-!\nx!\ny!\n"}),
      joined({"[rule::a]\nsourcetype=a\nMORE_THAN_60=a.b\n[rule::b]\nsourcetype=b\n"
              "MORE_THAN_60=a$\n",
              "a\xE2\x80\xA8"
              "b\n"})};
}

void run(std::string_view input) {
  Parts parts(input);
  const auto props = parts.next();
  const Sample sample = readSampleText(parts.next(), {}, "text");
  tree().write("system/local/props.conf", props);
  ConfStore store(tree().root());
  Rules rules(store);
  MatchBudget budget(kMaxFileCost);
  const CountedLines lines = Rules::testedLines(sample);
  const auto found = rules.findRuleSourcetype(lines, RuleTiming::BeforeModels, budget);
  const auto foundLate = rules.findRuleSourcetype(lines, RuleTiming::AfterModels, budget);
  try {
    require(found == findSlowly(store, sample, "rule::"),
            "the first rule whose tests all pass is taken");
    require(foundLate == findSlowly(store, sample, "delayedrule::"),
            "the first delayed rule whose tests all pass is taken");
  } catch (const Costly&) {
    // The result may then depend on the budget.
  }
}

}  // namespace sourcetype::fuzzing
