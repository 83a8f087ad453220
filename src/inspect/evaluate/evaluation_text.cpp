#include "inspect/evaluate/evaluation_text.h"

#include <fmt/core.h>

#include <algorithm>
#include <functional>
#include <set>
#include <utility>
#include <vector>

namespace sourcetype {
namespace {

// A margin below this many percent is near the limit.
constexpr double kNearMargin = 10;

// Files of a kind that are listed; JSON has all.
constexpr std::size_t kMaxListed = 20;

double percentOf(std::size_t part, std::size_t whole) {
  return whole == 0 ? 0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}

// "1 file", "2 files"
// Where the sourcetypes are in the table.
struct TableLayout {
  explicit TableLayout(const ConfusionTable& table) : answered(table.answered()) {
    std::set<std::string> all(answered.begin(), answered.end());
    for (auto& name : table.actual()) all.insert(std::move(name));
    all.erase("");  // not recognised
    names.assign(all.begin(), all.end());
    std::size_t maxNumber = names.size();
    for (const auto& name : names) {
      nameWidth = std::max(nameWidth, harmless(name).size());
      maxNumber = std::max(maxNumber, table.filesOf(name));
    }
    numberWidth = std::to_string(maxNumber).size();
  }

  std::string numberOf(const std::string& name) const {
    if (name.empty()) return "-";
    return std::to_string(std::ranges::lower_bound(names, name) - names.begin() + 1);
  }
  std::string labelOf(const std::string& name) const {
    return fmt::format("{:>{}} {:<{}}", numberOf(name), numberWidth, harmless(name), nameWidth);
  }
  std::size_t labelWidth() const { return numberWidth + 1 + nameWidth; }
  std::size_t cellWidth() const { return numberWidth + 2; }
  std::size_t width() const { return labelWidth() + cellWidth() * answered.size(); }

  std::vector<std::string> names;     // of rows and columns
  std::vector<std::string> answered;  // the columns
  std::size_t nameWidth = 0;
  std::size_t numberWidth = 0;
};

class Text {
 public:
  Text(const Evaluation& evaluation, const Output& out, std::size_t columns)
      : evaluation_(evaluation), out_(out), columns_(columns) {}

  std::string write() {
    writeCounts();
    writeTable();
    writePairs();
    writeFiles("Wrong or not recognised", &Text::isMissed);
    writeFiles("Near the limit (a margin below 10)", &Text::isNearLimit);
    writeFiles("Not evaluated", &Text::isLeftOut);
    writeLimits();
    return std::move(text_);
  }

 private:
  void heading(std::string_view title) { text_ += "\n" + out_.paint(Style::Heading, title) + "\n"; }

  void writeCounts() {
    const auto& counts = evaluation_.counts;
    const auto line = [&](Style style, std::string_view label, std::size_t count) {
      const auto text =
          fmt::format("{:<16}{:>8}{:>8.1f} %", label, count, percentOf(count, counts.total()));
      text_ += (count > 0 ? out_.paint(style, text) : text) + '\n';
    };
    text_ += out_.paint(Style::Heading,
                        fmt::format("{} of {} in {}", counted(counts.total(), "file"),
                                    counted(evaluation_.table.actual().size(), "sourcetype"),
                                    counted(evaluation_.folds, "fold"))) +
             '\n';
    line(Style::Good, "right", counts.right);
    line(Style::Bad, "wrong", counts.wrong);
    line(Style::Bad, "not recognised", counts.notRecognised);
  }

  // The sourcetypes have numbers, which head the columns.
  void writeTable() {
    heading("Sourcetypes of the files (rows) and answers (columns; -: not recognised)");
    const TableLayout layout(evaluation_.table);
    if (layout.width() > columns_) {
      text_ += fmt::format("The table needs {} columns, and the terminal has {}.\n", layout.width(),
                           columns_);
      return;
    }
    std::string head(layout.labelWidth(), ' ');
    for (const auto& name : layout.answered) {
      head += fmt::format("{:>{}}", layout.numberOf(name), layout.cellWidth());
    }
    text_ += out_.paint(Style::Dim, head) + '\n';
    bool hasForeign = false;
    for (const auto& name : layout.names) {
      const bool isForeign = evaluation_.table.filesOf(name) == 0;
      text_ += layout.labelOf(name);
      text_ += isForeign ? out_.paint(Style::Dim, "  only answered")
                         : cellsOf(name, layout.answered, layout.cellWidth());
      text_ += '\n';
      hasForeign = hasForeign || isForeign;
    }
    if (!hasForeign) return;
    text_ += out_.paint(Style::Dim,
                        "Only answered: no file that was classified has the sourcetype. If a rule "
                        "names such files so,\nrename the sourcetype in the input, or leave out "
                        "rules by --no-rules.") +
             '\n';
  }

  std::string cellsOf(const std::string& actual, const std::vector<std::string>& answered,
                      std::size_t width) const {
    std::string cells;
    for (const auto& name : answered) {
      const auto count = evaluation_.table.count(actual, name);
      const auto cell = fmt::format("{:>{}}", count == 0 ? "." : std::to_string(count), width);
      cells += out_.paint(count == 0       ? Style::Dim
                          : name == actual ? Style::Good
                                           : Style::Bad,
                          cell);
    }
    return cells;
  }

  void writePairs() {
    const auto pairs = evaluation_.table.confusedPairs();
    if (pairs.empty()) return;
    heading("Confused sourcetypes");
    for (const auto& pair : pairs) {
      text_ += fmt::format("{:>6}  {}", pair.total(), confusion(pair.first, pair.second));
      text_ += pair.secondAsFirst == 0
                   ? "\n"
                   : fmt::format(" ({}), {} ({})\n", pair.firstAsSecond,
                                 confusion(pair.second, pair.first), pair.secondAsFirst);
    }
  }

  static std::string confusion(const std::string& actual, const std::string& answered) {
    return harmless(actual) + " as " + harmless(answered);
  }

  static bool isMissed(const EvaluatedFile& file) {
    return file.verdict == Verdict::Wrong || file.verdict == Verdict::NotRecognised;
  }
  static bool isNearLimit(const EvaluatedFile& file) {
    return file.margin && *file.margin < kNearMargin;
  }
  static bool isLeftOut(const EvaluatedFile& file) {
    return file.verdict == Verdict::Unusable || file.verdict == Verdict::NotEvaluated;
  }

  static std::string whatBecameOf(const EvaluatedFile& file) {
    switch (file.verdict) {
      case Verdict::Unusable:
        return file.problem;
      case Verdict::NotEvaluated:
        return "no other file of the sourcetype can be learned";
      case Verdict::NotRecognised:
        return file.stage == Stage::TooSmall ? "not recognised: too few lines" : "not recognised";
      case Verdict::Right:
      case Verdict::Wrong:
        break;
    }
    auto text = file.verdict == Verdict::Right ? "right" : "answered " + file.answer;
    text += fmt::format(", by {}", stageName(file.stage.value_or(Stage::Unrecognised)));
    if (file.margin) text += fmt::format(", margin {:.1f}", *file.margin);
    return text;
  }

  void writeFiles(std::string_view title, bool (*isListed)(const EvaluatedFile&)) {
    std::size_t count = 0;
    for (const auto& file : evaluation_.files) {
      if (!isListed(file)) continue;
      if (count == 0) heading(title);
      if (++count > kMaxListed) continue;
      text_ += fmt::format("{}   {}   {}\n", harmless(file.file), harmless(file.sourcetype),
                           harmless(whatBecameOf(file)));
    }
    if (count > kMaxListed) {
      text_ += fmt::format("{} more: --json lists all\n", count - kMaxListed);
    }
  }

  void writeLimits() {
    heading("Other limits: maxDist of [default] in sourcetypes.conf");
    text_ += out_.paint(Style::Dim, fmt::format("{:>8}{:>8}{:>8}{:>16}", "maxDist", "right",
                                                "wrong", "not recognised")) +
             '\n';
    for (const auto& outcome : evaluation_.limits) {
      text_ += fmt::format("{:>8}{:>8}{:>8}{:>16}{}\n",
                           outcome.limit ? fmt::format("{}", *outcome.limit) : "none",
                           outcome.counts.right, outcome.counts.wrong, outcome.counts.notRecognised,
                           outcome.isConfigured ? "   as configured" : "");
    }
  }

  const Evaluation& evaluation_;
  const Output& out_;
  std::size_t columns_;
  std::string text_;
};

}  // namespace

std::string evaluationAsText(const Evaluation& evaluation, const Output& out, std::size_t columns) {
  return Text(evaluation, out, columns).write();
}

}  // namespace sourcetype
