#include "inspect/explain/explain_text.h"

#include <fmt/core.h>

#include "classifier/models/model_store.h"
#include "inspect/line_diff.h"

namespace sourcetype {
namespace {

constexpr std::size_t kIndent = 4;

std::string heading(const Output& out, std::string_view title) {
  return out.paint(Style::Heading, title) + "\n";
}

// "    title: text", aligned.
std::string fact(std::string_view title, const std::string& text) {
  return fmt::format("{:{}}{:<14} {}\n", "", kIndent, title, text);
}

std::string decisionText(const ExplainedFile& explained) {
  const Explanation& evidence = explained.evidence;
  const std::size_t lines = evidence.sample() ? evidence.sample()->lines : 0;
  switch (evidence.stage()) {
    case Stage::Configured:
      return "configuration names the sourcetype";
    case Stage::Invalid:
      return "the file is not classified: " + explained.invalidCause;
    case Stage::TooSmall:
      return fmt::format("too few lines: {} of the {} that rules and models need", lines,
                         kMinModelLines);
    case Stage::Rule:
      return "a rule";
    case Stage::Model:
      return "a learned model";
    case Stage::DelayedRule:
      return "a delayed rule, after the models";
    case Stage::NewSourcetype:
      return "nothing recognises the file: it would get a new sourcetype";
    case Stage::Unrecognised:
      break;
  }
  return "nothing recognises the file, and LEARN_SOURCETYPE forbids a new sourcetype";
}

std::string factsText(const ExplainedFile& explained, const Output& out) {
  const Explanation& evidence = explained.evidence;
  std::string text = fact("decided by", decisionText(explained));
  if (const auto margin = evidence.margin()) {
    const bool isSafe = *margin >= 10;
    text += fact("margin", out.paint(isSafe ? Style::Good : Style::Bad,
                                     fmt::format("{:.0f} of 100", *margin)));
  }
  if (const auto& sample = evidence.sample()) {
    // If the path decides the sourcetype, the file is only read for the binary test.
    const auto lines =
        sample->lines == 0 ? "no lines kept" : fmt::format("{} lines", sample->lines);
    text +=
        fact("read", fmt::format("{}, {} bytes, {:.3g} % invalid{}", lines, sample->bytes,
                                 sample->invalidPercent,
                                 sample->mark.empty() ? ", no byte-order mark"
                                                      : ", byte-order mark of " + sample->mark));
  }
  if (const auto areEvents = evidence.linesAreEvents()) {
    text += fact("events", *areEvents ? "each line" : "some have several lines");
  }
  return text;
}

std::string testText(const TestEvidence& test) {
  const std::string counted =
      test.isCounted ? fmt::format("{:.1f} %", test.counted) : std::string("not counted");
  return fmt::format("{}, needs {} {} %: {} = {}", counted, test.isMinimum ? "at least" : "at most",
                     test.needed, harmless(test.key), harmless(test.expression));
}

std::string ruleText(const RuleEvidence& rule, const Output& out) {
  const bool passes = nearnessOf(rule) >= 1;
  const std::string state = rule.decided ? out.paint(Style::Good, "decided")
                            : passes     ? "also passes, is tried later"
                                         : fmt::format("{:.0f} % near", nearnessOf(rule) * 100);
  std::string text = fmt::format("{:{}}[{}] {}   {}\n", "", kIndent, harmless(rule.stanza),
                                 harmless(rule.sourcetype), state);
  for (const auto& test : rule.tests) {
    const auto line = testText(test);
    text +=
        fmt::format("{:{}}{}\n", "", 2 * kIndent, test.passes ? line : out.paint(Style::Bad, line));
  }
  return text;
}

std::string rulesText(const Explanation& evidence, const Output& out) {
  const auto rules = evidence.nearRules();
  if (rules.empty()) return {};
  std::string text =
      heading(out, fmt::format("Rules: {} were tried, these came nearest", evidence.triedRules()));
  for (const auto& rule : rules) text += ruleText(rule, out);
  return text;
}

std::string modelText(const ModelEvidence& model, const ModelOrigin& origin, const Output& out) {
  std::string text = fmt::format(
      "{:{}}{}   {} of {:.0f}, words {:.1f} of {:.1f}   {}\n", "", kIndent,
      harmless(model.sourcetype), fmt::format("{:.1f}", model.distance), kAcceptDistance,
      model.wordDistance, model.maxWordDistance,
      model.isAccepted ? out.paint(Style::Good, "close enough") : std::string("too far"));
  std::string words;
  for (const auto& word : model.words) {
    words += fmt::format("{}{} {:.0f} %", words.empty() ? "" : ", ", word.text, word.weight * 100);
  }
  text += fmt::format("{:{}}learned from {}{}\n", "", 2 * kIndent, harmless(origin.file),
                      origin.day.empty() ? "" : " on " + origin.day);
  if (!words.empty()) text += fmt::format("{:{}}in common: {}\n", "", 2 * kIndent, words);
  return text;
}

std::string modelsText(const ExplainedFile& explained, const Output& out) {
  const auto& models = explained.evidence.models();
  if (models.empty()) return {};
  std::string text = heading(out, "Closest models");
  for (std::size_t i = 0; i < models.size(); ++i) {
    text += modelText(models[i], explained.origins[i], out);
  }
  return text;
}

std::string lineStartsText(const Explanation& evidence, const Output& out) {
  if (evidence.lineStarts().empty()) return {};
  std::string text = heading(out, "Starts of events");
  for (const auto& candidate : evidence.lineStarts()) {
    text += fmt::format("{:{}}{}   {} lines, spread {:.1f}, score {:.1f}{}\n", "", kIndent,
                        harmless(candidate.expression), candidate.count, candidate.spread,
                        candidate.score, candidate.isChosen ? "   chosen" : "");
  }
  return text;
}

std::string timestampsText(const Explanation& evidence, const Output& out) {
  if (!evidence.timestamps()) return {};
  constexpr std::size_t kMaxPrefixes = 5;
  const auto& found = *evidence.timestamps();
  std::string text = heading(out, "Timestamps");
  text += fmt::format("{:{}}in {} of {} lines", "", kIndent, found.linesWithStamp, found.lines);
  if (found.linesWithStamp > 0) {
    text += fmt::format(", on average from byte {:.0f} to {:.0f}", found.meanStart, found.meanEnd);
  }
  text += '\n';
  for (std::size_t i = 0; i < found.prefixes.size() && i < kMaxPrefixes; ++i) {
    const auto& [expression, lines] = found.prefixes[i];
    text += fmt::format("{:{}}{} lines: after {}\n", "", kIndent, lines,
                        expression.empty() ? "plain text" : harmless(expression));
  }
  return text;
}

std::string headerText(const Explanation& evidence, const Output& out) {
  if (!evidence.header()) return {};
  std::string text = heading(out, "Header line");
  for (const auto& tried : evidence.header()->delimiters) {
    text += fmt::format("{:{}}\"{}\" scores {:.3f}{}\n", "", kIndent,
                        tried.delimiter == '\t' ? "tab" : harmless({&tried.delimiter, 1}),
                        tried.score, tried.isChosen ? "   chosen" : "");
  }
  const auto& line = evidence.header()->line;
  return text +
         fmt::format("{:{}}{}\n", "", kIndent, line ? harmless(*line) : "no line names columns");
}

std::string fewLinesText(const ExplainedFile& explained, const Output& out) {
  if (explained.evidence.stage() != Stage::TooSmall) return {};
  std::string text = heading(out, fmt::format("With {} lines like these", kMinModelLines));
  if (!explained.withMoreLines) {
    return text + fmt::format("{:{}}no rule would recognise the file\n", "", kIndent);
  }
  return text + ruleText(*explained.withMoreLines, out);
}

std::string changesText(const ExplainedFile& explained, const std::filesystem::path& home,
                        const Output& out) {
  std::string text = heading(out, "Would be written");
  if (explained.changes.empty()) return text + fmt::format("{:{}}nothing\n", "", kIndent);
  for (const auto& change : explained.changes) {
    const auto [added, removed] = countChanges(diffLines(change.before, change.after));
    text += fmt::format("{:{}}{}: {} lines added, {} removed\n", "", kIndent,
                        harmless(nameBelow(home, change)), added, removed);
  }
  return text;
}

}  // namespace

std::string explainAsText(const ExplainedFile& explained, const std::filesystem::path& home,
                          const Output& out) {
  std::string text = harmless(explained.file) + ": " +
                     out.paint(Style::Heading, harmless(explained.sourcetype)) + "\n";
  text += factsText(explained, out);
  if (!explained.configured.empty()) {
    text +=
        heading(out, "Configured for the path") + toText(explained.configured, false, out, kIndent);
  }
  text += rulesText(explained.evidence, out);
  text += modelsText(explained, out);
  text += fewLinesText(explained, out);
  text += lineStartsText(explained.evidence, out);
  text += timestampsText(explained.evidence, out);
  text += headerText(explained.evidence, out);
  text += heading(out, "Settings") + toText(explained.settings, false, out, kIndent);
  return text + changesText(explained, home, out);
}

}  // namespace sourcetype
