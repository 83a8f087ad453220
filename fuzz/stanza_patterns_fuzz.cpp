// Stanza names that stand for many names. Input: a form of paths, a pattern and a name.
#include <algorithm>

#include "conf/stanza_pattern.h"
#include "support.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

// ASCII without what has a meaning in expressions, but for the wildcards and the dot.
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

// The pattern language as it is defined, by trying every length for a wildcard.
bool matchesSlowly(std::string_view pattern, std::string_view name, char separator, bool anyCase) {
  if (pattern.empty()) return name.empty();
  const auto matchesRun = [&](std::string_view rest, auto isInRun) {
    for (std::size_t length = 0;; ++length) {
      if (matchesSlowly(rest, name.substr(length), separator, anyCase)) return true;
      if (length == name.size() || !isInRun(name[length])) return false;
    }
  };
  if (pattern.starts_with("...")) {
    return matchesRun(pattern.substr(3), [](char c) { return !isLineEnd(c); });
  }
  if (pattern.starts_with('*')) {
    return matchesRun(pattern.substr(1), [&](char c) { return c != separator; });
  }
  if (name.empty()) return false;
  const bool same = anyCase ? toAsciiLower(pattern.front()) == toAsciiLower(name.front())
                            : pattern.front() == name.front();
  return same && matchesSlowly(pattern.substr(1), name.substr(1), separator, anyCase);
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
       {"source::.../access*", "source::/var/log/*.log", "host::Web*", "source::...a.b...",
        "source::C:\\logs\\*", "source::(a|b)*", "source::a(?#x)?*", "source::[ab]...",
        "source::.../x(?=y)*", "rule::*", "source::(?i)...[/\\\\]Logs[/\\\\]u_ex*.log",
        "source::...a(?:b|c)d?.log*", "source::(?i)...mask*", "source::a{2}bc*", "source::...\\.x*",
        "source::\xC3\xA9*", "source::\\Qa*\\E"}) {
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

  constexpr std::size_t kShort = 24;  // bytes; the slow way takes exponential time
  const bool isAscii = std::ranges::all_of(name, [](char c) { return c > 0; });
  if (!isPlainPattern(pattern) || !isAscii || pattern.size() > kShort || name.size() > kShort)
    return;
  const std::string_view prefix = pattern.substr(0, pattern.find("::") + 2);
  require(matches == (name.starts_with(prefix) &&
                      matchesSlowly(pattern.substr(prefix.size()), name.substr(prefix.size()),
                                    form.separator, pattern.starts_with("host::"))),
          "a pattern matches what its wildcards allow");
}

}  // namespace sourcetype::fuzzing
