#include "conf/stanza_pattern.h"

#include <gtest/gtest.h>

#include <array>
#include <random>
#include <string>

#include "util/regex.h"

namespace sourcetype {
namespace {

struct ExpandCase {
  const char* name;
  const char* windows;  // null: not a pattern
  const char* posix;
};
TEST(ExpandStanzaPattern, WritesTheExpressionForEitherPathForm) {
  for (const auto& [name, windows, posix] : {
           ExpandCase{R"(source::...\access*)", R"(source::.*\\access[^\\]*)",
                      R"(source::.*\access[^/]*)"},
           {"source::/a/b.c*", R"(source::/a/b\.c[^\\]*)", R"(source::/a/b\.c[^/]*)"},
           {"source::....log", R"(source::.*\.log)", R"(source::.*\.log)"},
           {"source::*..", R"(source::[^\\]*\.\.)", R"(source::[^/]*\.\.)"},
           {"source::(a|b)?[c]+$*", R"(source::(a|b)?[c]+$[^\\]*)", "source::(a|b)?[c]+$[^/]*"},
           {"host::WEB*", R"(host::(?i)WEB[^\\]*)", "host::(?i)WEB[^/]*"},
           {"host::web.one", R"(host::(?i)web\.one)", R"(host::(?i)web\.one)"},
           {"a.*b::x*::y", R"(a.*b::x[^\\]*::y)", "a.*b::x[^/]*::y"},
           {"source::/a/b..c", nullptr, nullptr},
           {"a*b::c", nullptr, nullptr},
           {"access*", nullptr, nullptr},
           {"HOST::web", nullptr, nullptr},
           {"", nullptr, nullptr},
       }) {
    for (const auto& [form, expected] :
         {std::pair{kWindowsPathForm, windows}, {kPosixPathForm, posix}}) {
      const auto expression = expandStanzaPattern(name, form);
      EXPECT_EQ(expression.has_value(), expected != nullptr) << name;
      EXPECT_EQ(expression.value_or("-"), expected != nullptr ? expected : "-");
      EXPECT_EQ(isStanzaPattern(name), expected != nullptr) << name;
    }
  }
}

struct PatternCase {
  const char* pattern;
  const char* name;
  PathForm form;
  bool matches;
};
bool matches(const StanzaPattern& pattern, std::string_view name) {
  MatchBudget budget(kMaxFileCost);
  return pattern.match(name, budget) == StanzaPattern::Answer::Match;
}

TEST(StanzaPattern, MatchesWholeNames) {
  for (const auto& [pattern, name, form, expected] : {
           PatternCase{R"(source::...\access*)", R"(source::C:\logs\access.log)", kWindowsPathForm,
                       true},
           {R"(source::...\access*)", R"(source::D:\x\y\access_2)", kWindowsPathForm, true},
           {R"(source::...\access*)", R"(source::D:\x\access\2)", kWindowsPathForm, false},
           {R"(source::C:\logs\*.log)", R"(source::C:\logs\a.log)", kWindowsPathForm, true},
           {R"(source::C:\logs\*.log)", R"(source::C:\logs\sub\a.log)", kWindowsPathForm, false},
           {"source::*.log", "source::alog", kWindowsPathForm, false},
           {"source::*.log", "source::a.log.1", kWindowsPathForm, false},
           {"source::*.log", "source::.log", kWindowsPathForm, true},
           {"source::(?i)....csv", R"(source::C:\Data\A.CSV)", kWindowsPathForm, true},
           {"source::(?i)....csv", "source::/data/a.Csv", kPosixPathForm, true},
           {"source::(?i)....csv", "source::/data/a.csv.gz", kPosixPathForm, false},
           {"host::WEB*", "host::web01", kWindowsPathForm, true},
           {"host::WEB*", "HOST::web01", kWindowsPathForm, false},
           {"source::.../access*", "source::/x/y/access.log", kPosixPathForm, true},
           {"source::/logs/*.log", "source::/logs/a.log", kPosixPathForm, true},
           {"source::/logs/*.log", "source::/logs/sub/a.log", kPosixPathForm, false},
           {"source::/Logs/*", "source::/logs/a", kPosixPathForm, false},
           {"source::/var/(a|ab)*/x", "source::/var/abc/x", kPosixPathForm, true},
           {"source::/var/(a*", "source::/var/(a1", kPosixPathForm, false},  // does not compile
           {"source::/no/pattern", "source::/no/pattern", kPosixPathForm, false},
           // The last literal character may be absent.
           {"source::/ab?*", "source::/a", kPosixPathForm, true},
           {"source::/a\u00e9?*", "source::/a", kPosixPathForm, true},
           {"source::/ab(?#x)?*", "source::/a", kPosixPathForm, true},
           {"source::/ab{0}*", "source::/a", kPosixPathForm, true},
           {"source::x*|source::y", "source::y", kPosixPathForm, true},
           {"source::a*a", "source::a", kPosixPathForm, false},
           // The text at the end is syntax.
           {"source::/*(?x)#.log", "source::/a", kPosixPathForm, true},
           {"source::/*[.log]", "source::/a.o", kPosixPathForm, true},
           {"(*ACCEPT)::a*b", "", kPosixPathForm, true},
       }) {
    const StanzaPattern stanza(pattern, form);
    EXPECT_EQ(matches(stanza, name), expected) << pattern << " on " << name;
    EXPECT_EQ(matches(stanza, name), expected) << "second time: " << pattern << " on " << name;
  }
}

// For any pattern, comparing literal text first does not change the result.
TEST(StanzaPattern, ReturnsTheResultOfItsExpression) {
  constexpr std::array kPieces{"*",    "...", ".",     "\\",  "(",   ")",      "|",         "?",
                               "[",    "]",   "{0}",   "{",   "}",   "+",      "^",         "$",
                               "a",    "b",   "ab",    "/",   "::",  "\u00e9", "(?i)",      "(?x)",
                               "#",    " ",   "(?#b)", "(?:", "\\E", "\\Q",    "(*ACCEPT)", "\\K",
                               "[^a]", "a?",  "b*",    "\n"};
  constexpr std::array kTexts{"a", "b", "ab", "/", "\\", ".", "::", "A", "\u00e9", "\n", " ", "#"};
  std::mt19937 random(20240501);
  const auto pick = [&](const auto& from) { return from[random() % from.size()]; };
  int matched = 0;
  for (int round = 0; round < 4000; ++round) {
    const PathForm form = random() % 2 == 0 ? kWindowsPathForm : kPosixPathForm;
    std::string name = random() % 4 == 0 ? "" : pick(std::array{"source::", "host::", "a::"});
    for (auto count = random() % 6; count > 0; --count) name += pick(kPieces);
    if (!isStanzaPattern(name)) name += pick(std::array{"::*", "::...", "::*b", "::a*"});
    std::optional<Regex> regex;
    try {
      regex.emplace(expandStanzaPattern(name, form).value_or("("));
    } catch (const RegexException&) {
      continue;  // it matches nothing, as tested above
    }
    const StanzaPattern stanza(name, form);
    for (int i = 0; i < 12; ++i) {
      // Most names are similar to the pattern: its text, with pieces added and characters removed.
      std::string subject = random() % 4 == 0 ? "" : name.substr(0, random() % (name.size() + 1));
      for (auto count = random() % 5; count > 0; --count) subject += pick(kTexts);
      std::erase_if(subject, [&](char c) {
        return std::string_view("*?(){}|").find(c) != std::string_view::npos && random() % 8 != 0;
      });
      const bool expected = regex->match(subject, Regex::Mode::Whole);
      matched += expected ? 1 : 0;
      ASSERT_EQ(matches(stanza, subject), expected) << name << " on " << subject;
    }
  }
  EXPECT_GT(matched, 500);
}

}  // namespace
}  // namespace sourcetype
