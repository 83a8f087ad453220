// What is learned of how events and timestamps begin. Input: a few lines, repeated until they are
// as many as the learner needs.
#include <algorithm>

#include "classifier/line_break_learner.h"
#include "classifier/line_start.h"
#include "classifier/single_line_check.h"
#include "classifier/timestamp_learner.h"
#include "support.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype::fuzzing {
namespace {

constexpr std::size_t kLinesForBreaks = 1100;
constexpr std::size_t kLinesForTimestamps = 50;

bool isAscii(std::string_view text) {
  return std::ranges::all_of(text, [](char c) { return c > 0; });
}

void checkCandidates(std::string_view line) {
  const auto candidates = lineStartCandidates(line);
  require(line.empty() || !isAsciiSpace(line.front()) || candidates.empty(),
          "an indented line proposes nothing");
  std::size_t length = 0;
  for (const auto& candidate : candidates) {
    require(candidate.size() > length, "candidates grow");
    length = candidate.size();
    if (!isAscii(line)) continue;
    require(Regex(candidate).find(line) == 0U, "a candidate matches the line that proposed it");
  }
}

// `text`, which has a line, repeated until it has at least `lines` lines.
Sample repeated(std::string_view text, std::size_t lines) {
  std::string log;
  const auto linesOfText = linesOf(text).size();
  for (std::size_t count = 0; count < lines; count += linesOfText) log.append(text) += '\n';
  return readSampleText(log, {}, "text");
}

// The learner copies a backslash unchanged, so some expressions with one do not compile.
void checkCompiles(const std::string& prefix) {
  if (isAscii(prefix) && !prefix.ends_with('\\') && prefix.find("\\){") == std::string_view::npos) {
    const Regex compiles(prefix);
  }
}

void checkPrefix(std::string_view textBefore) {
  const auto expression = makeTimePrefixRegex(textBefore);
  if (expression.empty() || !isAscii(textBefore)) return;
  if (expression == "\\" || expression.find("\\){") != std::string_view::npos) return;
  if (std::ranges::any_of(textBefore, [](char c) { return c < ' ' && c != '\t'; })) return;
  MatchResult match;
  require(Regex(expression).match(textBefore, match), "a prefix matches the text it was made of");
  const auto anchor = textBefore[match.end(0) - 1];
  require(textBefore.find(anchor, match.end(0)) == std::string_view::npos,
          "a prefix ends at the last one of its character");
}

void checkTimestampSettings(const Sample& sample) {
  // The first digit is the timestamp.
  const auto find = [](std::string_view line) -> std::optional<Timestamp> {
    const auto digit = line.find_first_of("0123456789");
    if (digit == std::string_view::npos) return std::nullopt;
    const auto start = static_cast<std::ptrdiff_t>(digit);
    return Timestamp{.main = {.start = start, .end = start + 1}, .second = {}};
  };
  PropertiesMap settings;
  learnTimestampSettings("type", sample, settings, find);
  const auto lookahead = settings.getInt("MAX_TIMESTAMP_LOOKAHEAD", 1);
  require(lookahead > 0, "a lookahead is a positive number");
  const auto prefix = settings.tryGet("TIME_PREFIX");
  if (prefix) checkCompiles(*prefix);
}

}  // namespace

std::vector<std::string> seeds() {
  return {"START 12\n  a\n  b\nEND\n",
          "[a-b] {x}: 1\n\tat (y)\nnext 2\n",
          "2024-01-02 x\n---\n12:00:01 y\n",
          "a=1, b=2\r\n<c> \"3\"\n#!$%^&*()\n",
          "\xC3\xA9t\xC3\xA9 1\nabcdefghijklmnopqrstuvwxyz012\xC3\xA9\n",
          "-\n--\n:::\n()()()1\n"};
}

void run(std::string_view input) {
  for (const auto line : linesOf(input)) {
    checkCandidates(line);
    checkPrefix(line);
  }
  if (linesOf(input).empty()) return;
  checkTimestampSettings(repeated(input, kLinesForTimestamps));
  const Sample sample = repeated(input, kLinesForBreaks);
  isSingleLineSample(sample);
  try {
    const auto expression = learnBreakOnlyBeforeRegex(sample);
    require(!expression || !expression->empty(), "an expression is not empty");
    if (!expression) return;
    const Regex regex(*expression);
    std::size_t matches = 0;
    for (std::size_t i = 0; i < sample.lineCount(); ++i) {
      matches += regex.match(sample.line(i)) ? 1U : 0U;
    }
    require(matches > 0, "what is learned matches some line");
  } catch (const RegexException&) {
    require(!isAscii(input), "what ASCII lines propose compiles");
  }
}

}  // namespace sourcetype::fuzzing
