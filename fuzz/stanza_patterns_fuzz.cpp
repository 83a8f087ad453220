// Stanza names that are patterns of names. Input: a form of paths, a pattern and a name.
#include <algorithm>
#include <vector>

#include "conf/stanza_pattern.h"
#include "support.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

// ASCII without the characters that have a meaning in expressions, except wildcards and the dot.
bool isPlainPattern(std::string_view name) {
  constexpr std::string_view kSyntax = R"(\^$[]|()?+{})";
  const auto start = name.find("::");
  return std::ranges::all_of(
             name, [&](char c) { return c > 0 && kSyntax.find(c) == std::string_view::npos; }) &&
         name.substr(0, start).find_first_of(".*") == std::string_view::npos;
}

bool isLineEnd(char c) {
  return c == '\n' || c == '\r' || c == '\v' || c == '\f';
}

// The pattern language as it is defined: the lengths of the starts of `name` that the pattern's
// parts up to now can match.
bool matchesByDefinition(std::string_view pattern, std::string_view name, char separator,
                         bool anyCase) {
  std::vector<bool> isReached(name.size() + 1);
  isReached[0] = true;
  const auto addRun = [&](auto isInRun) {
    for (std::size_t end = 0; end < name.size(); ++end) {
      if (isReached[end] && isInRun(name[end])) isReached[end + 1] = true;
    }
  };
  const auto isSame = [&](char a, char b) {
    return anyCase ? toAsciiLower(a) == toAsciiLower(b) : a == b;
  };
  while (!pattern.empty()) {
    if (pattern.starts_with("...")) {
      addRun([](char c) { return !isLineEnd(c); });
      pattern.remove_prefix(3);
      continue;
    }
    if (pattern.front() == '*') {
      addRun([&](char c) { return c != separator; });
    } else {
      for (std::size_t end = name.size(); end > 0; --end) {
        isReached[end] = isReached[end - 1] && isSame(pattern.front(), name[end - 1]);
      }
      isReached[0] = false;
    }
    pattern.remove_prefix(1);
  }
  return isReached[name.size()];
}

bool regexMatches(const std::string& expression, std::string_view name) {
  try {
    return Regex(expression).match(name, Regex::Mode::Whole);
  } catch (const RegexException&) {
    return false;
  }
}

}  // namespace

std::vector<std::string> seeds() {
  std::vector<std::string> inputs;
  for (const char* pattern :
       {"source::.../access*", "source::*****************", "source::/var/log/*.log", "host::Web*",
        "source::...a.b...", "source::C:\\logs\\*", "source::(a|b)*", "source::a(?#x)?*",
        "source::[ab]...", "source::.../x(?=y)*", "rule::*",
        "source::(?i)...[/\\\\]Logs[/\\\\]u_ex*.log", "source::...a(?:b|c)d?.log*",
        "source::(?i)...mask*", "source::a{2}bc*", "source::...\\.x*", "source::\xC3\xA9*",
        "source::\\Qa*\\E"}) {
    for (const char* form : {"0", "1"}) {
      inputs.push_back(joined({form, pattern, "source::/var/log/access.log"}));
      inputs.push_back(joined({form, pattern, pattern}));
    }
  }
  return inputs;
}

void run(std::string_view input) {
  Parts parts(input);
  const PathForm form = parts.nextBelow(2) == 0 ? kPosixPathForm : kWindowsPathForm;
  const auto pattern = parts.next();
  const auto name = parts.next();

  const auto expression = expandStanzaPattern(pattern, form);
  require(expression.has_value() == isStanzaPattern(pattern), "a pattern has an expression");
  MatchBudget budget(kMaxFileCost);
  const bool matches =
      StanzaPattern(pattern, form).match(name, budget) == StanzaPattern::Answer::Match;
  if (!expression) return require(!matches, "what is no pattern matches nothing");
  require(matches == regexMatches(*expression, name), "literal text rules no match out");

  constexpr std::size_t kShort = 24;  // bytes; a longer search may end with its budget
  const bool isAscii = std::ranges::all_of(name, [](char c) { return c > 0; });
  if (!isPlainPattern(pattern) || !isAscii || pattern.size() > kShort || name.size() > kShort)
    return;
  const std::string_view prefix = pattern.substr(0, pattern.find("::") + 2);
  require(matches == (name.starts_with(prefix) &&
                      matchesByDefinition(pattern.substr(prefix.size()), name.substr(prefix.size()),
                                          form.separator, pattern.starts_with("host::"))),
          "a pattern matches what its wildcards allow");
}

}  // namespace sourcetype::fuzzing
