// The line-start learner counts, for every expression that some line proposes, how often and how
// regularly it occurs, and takes the one that is frequent, telling (long) and even. An expression
// of nearly all lines says nothing about events.
#include "classifier/line_break_learner.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <span>
#include <unordered_map>

#include "classifier/line_start.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype {
namespace {

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
  const Regex timeOfDay(R"(\d:\d+:\d)", Regex::kNoOptions, Regex::Study::Yes);
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

}  // namespace sourcetype
