#include "classifier/line_start.h"

#include <utility>

#include "util/text.h"

namespace sourcetype {
namespace {

constexpr std::string_view kLetterToken = "[a-zA-Z]";
constexpr std::string_view kDigitToken = R"(\d)";
constexpr std::string_view kSpaceToken = R"(\s)";
constexpr std::string_view kRepeated = "+";

bool isClass(std::string_view token) {
  return token == kLetterToken || token == kDigitToken || token == kSpaceToken;
}

std::string tokenOf(char c) {
  constexpr std::string_view kEscaped = R"(()[]{}*+^$!-\?)";
  if (isAsciiLetter(c)) return std::string(kLetterToken);
  if (isAsciiDigit(c)) return std::string(kDigitToken);
  if (isAsciiSpace(c)) return std::string(kSpaceToken);
  return kEscaped.find(c) != std::string_view::npos ? std::string{'\\', c} : std::string(1, c);
}

std::string withWholeWords(std::string expression) {
  constexpr std::string_view kLetters = "[a-zA-Z]+";
  constexpr std::string_view kWord = R"([a-zA-Z](?:[_-]?\w)*)";
  for (auto at = expression.find(kLetters); at != std::string::npos;
       at = expression.find(kLetters, at + kWord.size())) {
    expression.replace(at, kLetters.size(), kWord);
  }
  return expression;
}

}  // namespace

std::vector<std::string> lineStartCandidates(std::string_view line) {
  if (line.empty() || isAsciiSpace(line.front())) return {};
  const auto tokens = tokenizeLineStart(line.substr(0, kMaxLineStartBytes));
  std::vector<std::string> candidates;
  std::string joined = "^";
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    joined += tokens[i];
    if (i > 0) candidates.push_back(withWholeWords(joined));
  }
  return candidates;
}

std::vector<std::string> tokenizeLineStart(std::string_view text) {
  std::vector<std::string> tokens;
  std::string previous;
  for (const char c : text) {
    std::string current = tokenOf(c);
    const bool continuesRun = current == previous && isClass(current);
    if (!previous.empty() && !continuesRun) {
      tokens.push_back(isClass(previous) ? previous.append(kRepeated) : previous);
    }
    previous = std::move(current);
  }
  if (previous.empty()) return tokens;
  tokens.push_back(previous);
  if (isClass(previous)) tokens.emplace_back(kRepeated);
  return tokens;
}

}  // namespace sourcetype
