// The line-start learner counts, for every expression that some line proposes, how often and how
// regularly it occurs, and takes the one that is frequent, telling (long) and even. An expression
// of nearly all lines says nothing about events.
#include "classifier/line_break_learner.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <set>
#include <span>
#include <unordered_map>

#include "util/regex.h"
#include "util/text.h"

namespace sourcetype {
namespace {

using Lines = std::vector<std::string_view>;

Lines examinedLines(const Sample& sample) {
  Lines lines(std::min(sample.lineCount(), kMaxExaminedLines));
  for (std::size_t i = 0; i < lines.size(); ++i) lines[i] = sample.line(i);
  return lines;
}

bool holds(std::string_view characters, char c) {
  return characters.find(c) != std::string_view::npos;
}

// --- Single lines ---

// A line of dashes and the like, which sets an event off from the next.
bool isSeparator(std::string_view line) {
  constexpr std::array<std::string_view, 5> kSeparators{"---", "***", "===", "___", "=+="};
  while (!line.empty() && isAsciiSpace(line.front())) line.remove_prefix(1);
  return std::ranges::any_of(kSeparators,
                             [&](std::string_view mark) { return line.starts_with(mark); });
}

// Where some lines are indented, but not nearly all, they continue the ones above them.
bool arePartlyIndented(const Lines& lines) {
  constexpr float kFewest = 0.05F;  // single precision settles which side a boundary is on
  constexpr float kMost = 0.98F;
  const auto count = static_cast<float>(lines.size());
  const auto indented = std::ranges::count_if(
      lines, [](std::string_view line) { return line.empty() || isAsciiSpace(line.front()); });
  const auto fewest = std::max(1L, static_cast<long>(kFewest * count));
  const auto most = static_cast<long>(kMost * count);
  return fewest < indented && indented < most;
}

constexpr std::size_t kShortestSignature = 2;
constexpr std::size_t kLongestSignature = 9;

// The punctuation of a line, as much of it as is compared. Dots in a row count once whatever stands
// between them: 10.0.0.1 looks like 1.5.
std::string punctuationSignature(std::string_view line) {
  constexpr std::string_view kIgnored = "-_'";
  std::string signature;
  char previous = '\0';
  for (const char c : line) {
    if (isAsciiLetter(c) || isAsciiDigit(c) || isAsciiSpace(c) || holds(kIgnored, c)) continue;
    if (c != '.' || previous != '.') signature += c;
    if (signature.size() == kLongestSignature) break;
    previous = c;
  }
  return signature;
}

// True when the lines begin with few patterns of punctuation for the length of these.
bool shareSignatures(const Lines& lines) {
  constexpr std::size_t kMostSignatures = 15;
  constexpr float kLeastRatio = 0.7F;  // of length to patterns; in single precision, as above
  std::vector<std::string> signatures(lines.size());
  std::ranges::transform(lines, signatures.begin(), punctuationSignature);
  for (std::size_t length = kShortestSignature; length <= kLongestSignature; ++length) {
    std::set<std::string_view> distinct;
    for (const std::string_view signature : signatures) {
      distinct.insert(signature.substr(0, length));
      if (distinct.size() > kMostSignatures) return false;
    }
    const auto ratio = static_cast<float>(length) / static_cast<float>(distinct.size());
    if (ratio >= kLeastRatio) return true;
  }
  return false;
}

// --- Line starts ---

constexpr std::string_view kLetter = "[a-zA-Z]";
constexpr std::string_view kDigit = R"(\d)";
constexpr std::string_view kSpace = R"(\s)";
constexpr std::string_view kRepeated = "+";

// Bytes of a line that say what it begins with.
constexpr std::size_t kLineStartBytes = 30;

bool isClass(std::string_view token) {
  return token == kLetter || token == kDigit || token == kSpace;
}

std::string tokenOf(char c) {
  constexpr std::string_view kEscaped = R"(()[]{}*+^$!-\?)";
  if (isAsciiLetter(c)) return std::string(kLetter);
  if (isAsciiDigit(c)) return std::string(kDigit);
  if (isAsciiSpace(c)) return std::string(kSpace);
  return holds(kEscaped, c) ? std::string{'\\', c} : std::string(1, c);
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

struct LineStartStats {
  double last = 0;  // the position of the first occurrence, and from the second one on the last gap
  double count = 0;
  double gapSum = 0;
  double gapSquareSum = 0;

  // Positions are counted from 1. Gaps after the second occurrence are measured from the gap before
  // them, which makes the spread of what occurs throughout a large sample as large as can be.
  void add(double position) {
    if (count > 0) {
      const double gap = position - last;
      gapSum += gap;
      gapSquareSum += gap * gap;
      last = gap;
    } else {
      last = position;
    }
    count += 1;
  }

  // Standard deviation of the gaps. Rounding may leave a negative sum under the root: no number.
  double spread() const {
    return std::sqrt((gapSquareSum - gapSum / count * gapSum) / (count - 1));
  }
};

// Occurrences of an expression per line of the sample that are needed to count.
constexpr double kLinesPerOccurrence = 50.0;

// Counts what the lines of a sample propose, but only where it is frequent: the lines of a sample
// may propose half a million expressions, of which some thousand can be frequent.
//
// What a line proposes follows from its shape, and lines whose shapes begin alike propose the same
// from there. So an expression is as frequent as the shapes that begin like it.
class LineStarts {
 public:
  using Stats = std::map<std::string, LineStartStats>;  // in byte order of the expressions

  explicit LineStarts(const Sample& sample)
      : minCount_(static_cast<double>(sample.lineCount()) / kLinesPerOccurrence) {
    std::vector<Shape*> shapes = countShapes(sample);
    std::ranges::sort(shapes, {}, [](const Shape* shape) { return std::string_view(shape->text); });
    findFrequent(shapes, 0);
    for (Shape* shape : shapes) addCandidates(*shape);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      for (LineStartStats* stats : lines_[i]->candidates) stats->add(static_cast<double>(i + 1));
    }
  }

  // Of every expression that is frequent enough, and of some others.
  const Stats& stats() const { return stats_; }

 private:
  // The start of a line with a letter, digit or space for each run of these, which settles its
  // tokens.
  struct Shape {
    std::string_view text;
    std::size_t count = 0;     // lines of the shape
    std::size_t frequent = 0;  // bytes of the text that begin enough lines
    std::vector<LineStartStats*> candidates;
  };

  std::vector<Shape*> countShapes(const Sample& sample) {
    std::vector<Shape*> found;
    lines_.reserve(sample.lineCount());
    for (std::size_t i = 0; i < sample.lineCount(); ++i) {
      const auto [known, isNew] = shapes_.try_emplace(shapeOf(sample.line(i)));
      Shape& shape = known->second;
      shape.text = known->first;
      if (isNew) found.push_back(&shape);
      ++shape.count;
      lines_.push_back(&shape);
    }
    return found;
  }

  static std::string shapeOf(std::string_view line) {
    std::string shape;
    for (const char c : line.substr(0, kLineStartBytes)) {
      const char sort = isAsciiLetter(c) ? 'a' : isAsciiDigit(c) ? '0' : isAsciiSpace(c) ? ' ' : c;
      const bool isRun = sort == 'a' || sort == '0' || sort == ' ';
      if (!isRun || !shape.ends_with(sort)) shape += sort;
    }
    return shape;
  }

  // `shapes` are sorted and agree in their first `length` bytes.
  void findFrequent(std::span<Shape*> shapes, std::size_t length) {
    if (!shapes.empty() && shapes.front()->text.size() == length) shapes = shapes.subspan(1);
    while (!shapes.empty()) {
      const auto start = shapes.front()->text.substr(0, length + 1);
      std::size_t alike = 0;
      std::size_t count = 0;
      while (alike < shapes.size() && shapes[alike]->text.starts_with(start)) {
        count += shapes[alike++]->count;
      }
      if (static_cast<double>(count) >= minCount_) {
        for (Shape* shape : shapes.first(alike)) shape->frequent = start.size();
        findFrequent(shapes.first(alike), start.size());
      }
      shapes = shapes.subspan(alike);
    }
  }

  // What the frequent part of the shape proposes. A class in the last place of a line proposes two
  // expressions, so where the shape goes on the part is looked at with the byte after it.
  void addCandidates(Shape& shape) {
    if (shape.frequent == 0) return;
    auto proposed = lineStartCandidates(shape.text.substr(0, shape.frequent + 1));
    if (shape.frequent < shape.text.size()) {
      proposed.resize(std::min(proposed.size(), shape.frequent - 1));
    }
    for (const auto& candidate : proposed) shape.candidates.push_back(&stats_[candidate]);
  }

  double minCount_;
  Stats stats_;
  std::unordered_map<std::string, Shape> shapes_;
  std::vector<const Shape*> lines_;  // the shape of each line
};

// The best of them; empty when none is frequent, or when the best one marks nearly every line.
std::string chooseLineStart(const LineStarts::Stats& candidates, std::size_t lineCount) {
  constexpr double kMostSpread = 20.0;
  constexpr double kOtherLines = 10.0;  // that an expression has to leave for what follows starts
  const auto lines = static_cast<double>(lineCount);
  double best = -1.0;
  double bestCount = 0;
  std::string chosen;
  for (const auto& [expression, stats] : candidates) {
    if (stats.count < lines / kLinesPerOccurrence) continue;
    // A spread that is no number stays so, and no comparison with it holds. One of 0 gives an
    // infinite score; the first in byte order keeps its place.
    const double spread = std::min(stats.spread(), kMostSpread);
    const double score = stats.count * std::log(static_cast<double>(expression.size())) / spread;
    // An expression may have been cut within a character.
    if (score > best && compiles(expression)) {
      best = score;
      bestCount = stats.count;
      chosen = expression;
    }
  }
  if (best > 0 && bestCount > lines - kOtherLines) return {};
  return chosen;
}

}  // namespace

bool isSingleLineSample(const Sample& sample) {
  constexpr std::size_t kLeastLines = 2;            // a lone line is one event
  constexpr std::size_t kLeastSignatureLines = 30;  // fewer say nothing about patterns
  const Lines lines = examinedLines(sample);
  if (lines.size() < kLeastLines) return true;
  if (std::ranges::any_of(lines, isSeparator) || arePartlyIndented(lines)) return false;
  return lines.size() < kLeastSignatureLines || shareSignatures(lines);
}

std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample) {
  constexpr std::size_t kLeastLines = 1000;
  if (sample.lineCount() < kLeastLines || looksTimestamped(sample)) return std::nullopt;
  const LineStarts starts(sample);
  std::string chosen = chooseLineStart(starts.stats(), sample.lineCount());
  if (chosen.empty()) return std::nullopt;
  return chosen;
}

bool looksTimestamped(const Sample& sample) {
  constexpr double kShare = 0.05;
  constexpr std::size_t kFewLines = 100;
  // Found in the same lines as "\d+:\d+:\d+", but in one pass also over a line of digits.
  const Regex timeOfDay(R"(\d:\d+:\d)", Regex::kNoOptions, Regex::Compile::ToMachineCode);
  std::size_t matched = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    if (!timeOfDay.match(sample.line(i))) continue;
    ++matched;
    const std::size_t seen = i + 1;
    const double share = static_cast<double>(matched) / static_cast<double>(seen);
    if (share > kShare && seen > kFewLines) return true;
  }
  return false;
}

std::vector<std::string> lineStartCandidates(std::string_view line) {
  if (line.empty() || isAsciiSpace(line.front())) return {};
  const auto tokens = tokenizeLineStart(line.substr(0, kLineStartBytes));
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
