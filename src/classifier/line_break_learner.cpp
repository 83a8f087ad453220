// Each line proposes expressions for how it starts. The learner counts how often and how regularly
// each expression occurs, and chooses one that is frequent, long (and so more specific) and evenly
// spread. An expression that matches nearly all lines is not the start of events.
#include "classifier/line_break_learner.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "classifier/line_start.h"
#include "util/regex.h"
#include "util/text.h"

namespace sourcetype {
namespace {

struct LineStartStats {
  double last = 0;  // position of the first occurrence; from the second one on, the last gap
  double count = 0;
  double gapSum = 0;
  double gapSquareSum = 0;

  // Positions are counted from 1. From the third occurrence on, the gap is measured from the
  // previous gap, not from the previous position. An expression that occurs throughout a large
  // sample therefore gets a large spread.
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

  // Returns the standard deviation of the gaps. It is NaN when rounding leaves a negative variance.
  double spread() const {
    return std::sqrt((gapSquareSum - gapSum / count * gapSum) / (count - 1));
  }
};

// An expression is frequent when it occurs at least once in this many lines.
constexpr double kMaxLinesPerOccurrence = 50.0;

// Counts the frequent expressions among those that the lines of a sample propose. The lines can
// propose half a million expressions, of which at most some thousand are frequent.
//
// The shape of a line determines its expressions, and shapes with a common beginning have common
// expressions. So an expression is as frequent as the shapes with that beginning.
class LineStarts {
 public:
  using Stats = std::map<std::string, LineStartStats>;  // in byte order of the expressions

  explicit LineStarts(const Sample& sample)
      : minCount_(static_cast<double>(sample.lineCount()) / kMaxLinesPerOccurrence) {
    std::vector<Shape*> shapes = countShapes(sample);
    std::ranges::sort(shapes, {}, [](const Shape* shape) { return std::string_view(shape->text); });
    findFrequent(shapes, 0);
    for (Shape* shape : shapes) addCandidates(*shape);
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      for (LineStartStats* stats : lines_[i]->candidates) stats->add(static_cast<double>(i + 1));
    }
  }

  // Contains every frequent expression, and some others.
  const Stats& stats() const { return stats_; }

 private:
  // The start of a line, with each run of letters, digits or spaces written as one of them. It
  // determines the tokens of the line.
  struct Shape {
    std::string_view text;
    std::size_t count = 0;     // number of lines with the shape
    std::size_t frequent = 0;  // bytes of the beginning that is frequent
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
    for (const char c : line.substr(0, kMaxLineStartBytes)) {
      const char sort = isAsciiLetter(c) ? 'a' : isAsciiDigit(c) ? '0' : isAsciiSpace(c) ? ' ' : c;
      const bool isRun = sort == 'a' || sort == '0' || sort == ' ';
      if (!isRun || !shape.ends_with(sort)) shape += sort;
    }
    return shape;
  }

  // Sets `frequent` of each shape. `shapes` are sorted and have the same first `length` bytes.
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

  // Adds the expressions of the frequent beginning of the shape. A class at the end of a text gives
  // two expressions. So if the shape is longer, the next byte is included, and what that byte adds
  // is removed again.
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

// Tells the expressions of the highest scores. A score that is not a number is the lowest.
void tellLineStarts(std::vector<LineStartEvidence> rated, const std::string& chosen,
                    FlowObserver& observer) {
  constexpr std::size_t kMaxTold = 5;
  std::ranges::stable_sort(rated, std::ranges::greater(), [](const LineStartEvidence& candidate) {
    return std::isnan(candidate.score) ? -1.0 : candidate.score;
  });
  if (rated.size() > kMaxTold) rated.resize(kMaxTold);
  for (auto& candidate : rated) candidate.isChosen = candidate.expression == chosen;
  observer.ratedLineStarts(rated);
}

// Returns the best expression. Returns an empty one when no expression is frequent, or when the
// best matches nearly every line.
std::string chooseLineStart(const LineStarts::Stats& candidates, std::size_t lineCount,
                            FlowObserver* observer) {
  constexpr double kMaxSpread = 20.0;      // greater spreads count as this
  constexpr double kMinOtherLines = 10.0;  // lines that the expression must not match
  const auto lines = static_cast<double>(lineCount);
  double best = -1.0;
  double bestCount = 0;
  std::string chosen;
  std::vector<LineStartEvidence> rated;
  for (const auto& [expression, stats] : candidates) {
    if (stats.count < lines / kMaxLinesPerOccurrence) continue;
    // With a spread of NaN the score is NaN and never the best. With a spread of 0 it is infinite;
    // the first such expression in byte order wins.
    const double spread = std::min(stats.spread(), kMaxSpread);
    const double score = stats.count * std::log(static_cast<double>(expression.size())) / spread;
    if (observer != nullptr) {
      rated.push_back(
          {.expression = expression, .count = stats.count, .spread = spread, .score = score});
    }
    // An expression that was cut within a multi-byte character does not compile.
    if (score > best && compiles(expression)) {
      best = score;
      bestCount = stats.count;
      chosen = expression;
    }
  }
  if (best > 0 && bestCount > lines - kMinOtherLines) chosen.clear();
  if (observer != nullptr) tellLineStarts(std::move(rated), chosen, *observer);
  return chosen;
}

}  // namespace

std::optional<std::string> learnBreakOnlyBeforeRegex(const Sample& sample, FlowObserver* observer) {
  constexpr std::size_t kMinLines = 1000;
  if (sample.lineCount() < kMinLines || looksTimestamped(sample)) return std::nullopt;
  const LineStarts starts(sample);
  std::string chosen = chooseLineStart(starts.stats(), sample.lineCount(), observer);
  if (chosen.empty()) return std::nullopt;
  return chosen;
}

bool looksTimestamped(const Sample& sample) {
  constexpr double kMaxUntimedShare = 0.05;
  constexpr std::size_t kTooFewLines = 100;
  // Matches the same lines as "\d+:\d+:\d+", but takes one pass over a line of digits.
  const Regex timeOfDay(R"(\d:\d+:\d)", Regex::kNoOptions, Regex::Compile::ToMachineCode);
  std::size_t matched = 0;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) {
    if (!timeOfDay.match(sample.line(i))) continue;
    ++matched;
    const std::size_t seen = i + 1;
    const double share = static_cast<double>(matched) / static_cast<double>(seen);
    if (share > kMaxUntimedShare && seen > kTooFewLines) return true;
  }
  return false;
}

}  // namespace sourcetype
