// A configuration may have ten thousand patterns, and the name of a file is matched with each.
// Nearly all of them have literal text that the name does not have. Comparing this text takes
// nanoseconds, compiling takes microseconds. The comparison must not reject a name that the
// expression would match, so it uses only text that every match must contain (literalEnds()).
#include "conf/stanza_pattern.h"

#include <algorithm>
#include <mutex>

#include "conf/stanza_kinds.h"
#include "util/logging.h"
#include "util/regex.h"
#include "util/text.h"
#include "util/utf8.h"

namespace sourcetype {
namespace {

constexpr LogCategory kPatternLog("PropertiesMapConfig");

constexpr std::string_view kAnyRun = "...";

bool contains(std::string_view text, std::string_view part) {
  return text.find(part) != std::string_view::npos;
}

// The position after the first "::"; the size of the name when there is none.
std::size_t patternStart(std::string_view name) {
  const auto colons = name.find(kKindSeparator);
  return colons == std::string_view::npos ? name.size() : colons + kKindSeparator.size();
}

// The size of the wildcard that `text` begins with; 0 when it does not begin with one.
std::size_t wildcardSize(std::string_view text) {
  if (text.starts_with(kAnyRun)) return kAnyRun.size();
  return text.starts_with('*') ? 1 : 0;
}

std::string separatorFreeRun(PathForm form) {
  return form.separator == '\\' ? R"([^\\]*)" : std::string("[^") + form.separator + "]*";
}

struct LiteralEnds {
  std::size_t prefix = 0;
  std::size_t suffix = 0;
  bool isPlain = false;  // there are only literal text and wildcards between them
};

// True when `text` contains the literal texts between the wildcards of `pattern`, in their order.
// Every match contains them.
bool hasLiteralsInOrder(std::string_view pattern, std::string_view text) {
  while (!pattern.empty()) {
    std::size_t literal = 0;
    while (literal < pattern.size() && wildcardSize(pattern.substr(literal)) == 0) ++literal;
    const auto found = text.find(pattern.substr(0, literal));
    if (found == std::string_view::npos) return false;
    text.remove_prefix(found + literal);
    pattern.remove_prefix(literal);
    pattern.remove_prefix(wildcardSize(pattern));
  }
  return true;
}

// The sizes of the literal text at both ends of a pattern. Syntax of expressions in the name may
// change the meaning of literal text around it:
// - "|": a match may be another alternative, without the text. There is no prefix and no suffix.
// - Syntax after the prefix may make the last character of the prefix optional, even at a distance
//   ("a(?#x)?"). That character is not part of the prefix, unless a wildcard comes before the
//   syntax.
// - Syntax may include the rest of the name ("[", "(?x)#") or end the match ("(*ACCEPT)"). There is
//   no suffix.
LiteralEnds literalEnds(std::string_view name, PathForm form) {
  constexpr std::string_view kSyntax = R"(\^$.[]|()?*+{})";
  if (contains(name, "|")) return {};
  const std::size_t start = patternStart(name);
  const auto isSyntax = [&](std::size_t at) {
    if (!contains(kSyntax, name.substr(at, 1))) return false;
    const bool becomesLiteral = name[at] == '.' || (name[at] == '\\' && form.literalBackslash);
    return at < start || !becomesLiteral;
  };
  std::size_t firstWildcard = name.size();
  std::size_t suffixStart = name.size();
  std::size_t firstSyntax = name.size();
  for (std::size_t at = 0; at < name.size();) {
    const std::size_t size = at < start ? 0 : wildcardSize(name.substr(at));
    if (size > 0) {
      firstWildcard = std::min(firstWildcard, at);
      at += size;
      suffixStart = at;
      continue;
    }
    if (isSyntax(at)) firstSyntax = std::min(firstSyntax, at);
    ++at;
  }
  if (name.starts_with(kHostKind)) firstSyntax = kHostKind.size();  // "(?i)"
  if (firstSyntax == name.size()) {
    return {.prefix = firstWildcard, .suffix = name.size() - suffixStart, .isPlain = true};
  }
  if (firstWildcard < firstSyntax) return {.prefix = firstWildcard};
  std::size_t prefix = firstSyntax;
  while (prefix > 0 && isUtf8Continuation(byteAt(name, prefix - 1))) --prefix;
  return {.prefix = prefix > 0 ? prefix - 1 : 0};
}

// The longest text outside of groups that every match contains, in lower case. Empty if there is none
// or if the syntax of the name is not understood.
class LongestText {
 public:
  LongestText(std::string_view name, PathForm form)
      : rest_(name.substr(patternStart(name))),
        form_(form),
        isCaseless_(name.starts_with(kHostKind)) {
    const auto kind = name.substr(0, patternStart(name));
    isUnderstood_ = std::ranges::all_of(kind, [](char c) { return isAsciiLetter(c) || c == ':'; });
    while (!rest_.empty() && isUnderstood_) {
      if (const auto wildcard = wildcardSize(rest_); wildcard > 0) {
        endRun(wildcard);
      } else {
        readCharacter(rest_.front());
      }
    }
    endRun(0);
    if (!isUnderstood_ || depth_ != 0) longest_.clear();
  }
  std::string take() { return std::move(longest_); }

 private:
  void readCharacter(char c) {
    switch (c) {
      case '(':
        return openGroup();
      case ')':
        isUnderstood_ = --depth_ >= 0;
        return endRun(1);
      case '[':
        return skipClass();
      case '\\':
        return skipEscape();
      case '|':
        isUnderstood_ = depth_ > 0;
        return endRun(1);
      case '?':
      case '+':
      case '{':
        if (!run_.empty()) run_.pop_back();  // the quantifier may make it optional
        return endRun(c == '{' ? std::min(rest_.find('}'), rest_.size()) + 1 : 1);
      case '^':
      case '$':
        return endRun(1);
      default:
        break;
    }
    const char lower = toAsciiLower(c);
    // Without regard to case, these two letters also match characters beyond ASCII.
    const bool isAmbiguous = isCaseless_ && (lower == 'k' || lower == 's');
    if (static_cast<unsigned char>(c) >= 0x80 || isAmbiguous || depth_ > 0) return endRun(1);
    run_ += lower;
    rest_.remove_prefix(1);
  }

  void openGroup() {
    constexpr std::string_view kCaseless = "(?i)";
    constexpr std::string_view kUncaptured = "(?:";
    if (rest_.starts_with(kCaseless) && depth_ == 0) {
      isCaseless_ = true;
      return endRun(kCaseless.size());
    }
    ++depth_;
    const bool isUncaptured = rest_.starts_with(kUncaptured);
    isUnderstood_ = isUncaptured || !rest_.starts_with("(?");
    endRun(isUncaptured ? kUncaptured.size() : 1);
  }

  // Wildcards and dots in a class become something else.
  void skipClass() {
    const auto end = rest_.find(']', rest_.starts_with("[^") ? 3 : 2);
    const auto content = rest_.substr(1, end == std::string_view::npos ? end : end - 1);
    isUnderstood_ =
        end != std::string_view::npos && content.find_first_of("*.[:=") == std::string_view::npos;
    endRun(end == std::string_view::npos ? rest_.size() : end + 1);
  }

  void skipEscape() {
    if (form_.literalBackslash) return endRun(1);
    const bool hasNext = rest_.size() > 1;
    const char next = hasNext ? rest_[1] : '\0';
    isUnderstood_ = hasNext && next != '*' && next != '.' && !isAsciiLetter(next) &&
                    !isAsciiDigit(next) && static_cast<unsigned char>(next) < 0x80;
    endRun(isUnderstood_ ? 2 : 1);
  }

  // Ends the text, and skips so many bytes.
  void endRun(std::size_t skipped) {
    if (run_.size() > longest_.size()) longest_ = run_;
    run_.clear();
    isUnderstood_ = isUnderstood_ && skipped <= rest_.size();
    rest_.remove_prefix(std::min(skipped, rest_.size()));
  }

  std::string_view rest_;
  PathForm form_;
  bool isCaseless_;
  bool isUnderstood_ = true;
  int depth_ = 0;
  std::string run_;
  std::string longest_;
};

bool containsInAnyCase(std::string_view text, std::string_view lower) {
  const auto isSame = [](char a, char b) { return toAsciiLower(a) == b; };
  return std::search(text.begin(), text.end(), lower.begin(), lower.end(), isSame) != text.end() ||
         lower.empty();
}

}  // namespace

bool isStanzaPattern(std::string_view name) {
  if (name.starts_with(kHostKind)) return true;
  const std::string_view pattern = name.substr(patternStart(name));
  return contains(pattern, "*") || contains(pattern, kAnyRun);
}

std::optional<std::string> expandStanzaPattern(std::string_view stanzaName, PathForm form) {
  if (!isStanzaPattern(stanzaName)) return std::nullopt;
  const std::size_t start = patternStart(stanzaName);
  std::string expression(stanzaName.substr(0, start));
  if (stanzaName.starts_with(kHostKind)) expression += "(?i)";
  for (std::size_t at = start; at < stanzaName.size();) {
    const char c = stanzaName[at];
    const std::size_t wildcard = wildcardSize(stanzaName.substr(at));
    if (wildcard == kAnyRun.size()) {
      expression += ".*";
    } else if (wildcard == 1) {
      expression += separatorFreeRun(form);
    } else if (c == '.') {
      expression += R"(\.)";
    } else if (c == '\\' && form.literalBackslash) {
      expression += R"(\\)";
    } else {
      expression += c;
    }
    at += std::max<std::size_t>(wildcard, 1);
  }
  logDebug(kPatternLog, "Expanded file pattern %s into %s", stanzaName, expression);
  return expression;
}

struct StanzaPattern::Compiled {
  struct Expression {
    std::string text;
    std::optional<Regex> regex;
    std::string error;  // why `regex` is empty
  };

  void compile(std::string_view name, PathForm form) {
    const auto text = expandStanzaPattern(name, form);
    if (!text) return;
    expression = std::make_unique<Expression>(Expression{.text = *text, .regex = {}, .error = {}});
    try {
      expression->regex.emplace(*text);
    } catch (const RegexException& failure) {
      expression->error = failure.what();
    }
  }

  std::once_flag once;
  std::unique_ptr<Expression> expression;  // null when the name is not a pattern
};

StanzaPattern::StanzaPattern(std::string_view stanzaName, PathForm form)
    : name_(stanzaName), form_(form), compiled_(std::make_unique<Compiled>()) {
  const LiteralEnds ends = literalEnds(name_, form);
  prefixSize_ = ends.prefix;
  suffixSize_ = ends.suffix;
  isPlain_ = ends.isPlain;
  if (!isPlain_) text_ = LongestText(name_, form).take();
}
StanzaPattern::StanzaPattern(StanzaPattern&&) noexcept = default;
StanzaPattern& StanzaPattern::operator=(StanzaPattern&&) noexcept = default;
StanzaPattern::~StanzaPattern() = default;

bool StanzaPattern::hasLiteralTextOf(std::string_view wholeName) const {
  const std::string_view name = name_;
  if (!wholeName.starts_with(name.substr(0, prefixSize_))) return false;
  if (!wholeName.ends_with(name.substr(name.size() - suffixSize_))) return false;
  if (!isPlain_) return containsInAnyCase(wholeName, text_);
  const auto ends = prefixSize_ + suffixSize_;
  if (wholeName.size() < ends) return false;
  const auto between = [&](auto text) { return text.substr(prefixSize_, text.size() - ends); };
  return hasLiteralsInOrder(between(name), between(wholeName));
}

StanzaPattern::Answer StanzaPattern::match(std::string_view wholeName, MatchBudget& budget) const {
  if (!hasLiteralTextOf(wholeName)) return Answer::NoMatch;
  std::call_once(compiled_->once, [&] { compiled_->compile(name_, form_); });
  const auto* expression = compiled_->expression.get();
  if (expression == nullptr) return Answer::NoMatch;
  budget.spend(MatchBudget::compilingCost(expression->text.size()));
  if (!expression->regex) return Answer::Invalid;
  MatchResult groups;  // not used
  switch (expression->regex->tryMatch(wholeName, groups, budget, Regex::Mode::Whole)) {
    case Regex::Answer::NoMatch:
      return Answer::NoMatch;
    case Regex::Answer::Match:
      return Answer::Match;
    case Regex::Answer::TooCostly:
      break;
  }
  return Answer::TooCostly;
}

void StanzaPattern::logError() const {
  const auto& expression = *compiled_->expression;
  reportInvalidRegex(kPatternLog, expression.text, expression.error, name_, {});
}

}  // namespace sourcetype
