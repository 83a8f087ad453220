#include "inspect/explain/explain_json.h"

#include <cmath>
#include <nlohmann/json.hpp>

#include "inspect/line_diff.h"

namespace sourcetype {
namespace {

// Returns the value with two decimals, or null for infinity and NaN.
Json toHundredths(double value) {
  if (!std::isfinite(value)) return nullptr;
  return std::round(value * 100) / 100;
}

Json toJson(const TestEvidence& test) {
  return {{"test", test.key},
          {"expression", test.expression},
          {"needed", test.needed},
          {"counted", test.isCounted ? toHundredths(test.counted) : Json()},
          {"passes", test.passes}};
}

Json toJson(const RuleEvidence& rule) {
  Json tests = Json::array();
  for (const auto& test : rule.tests) tests.push_back(toJson(test));
  return {{"rule", rule.stanza},
          {"sourcetype", rule.sourcetype},
          {"decided", rule.decided},
          {"tried", rule.wasTried},
          {"nearness", toHundredths(nearnessOf(rule))},
          {"tests", std::move(tests)}};
}

Json toJson(const ModelEvidence& model, const ModelOrigin& origin) {
  Json words = Json::array();
  for (const auto& word : model.words) {
    words.push_back({{"word", word.text}, {"weight", toHundredths(word.weight)}});
  }
  return {{"model", model.stanza},
          {"sourcetype", model.sourcetype},
          {"distance", toHundredths(model.distance)},
          {"word_distance", toHundredths(model.wordDistance)},
          {"max_word_distance", toHundredths(model.maxWordDistance)},
          {"accepted", model.isAccepted},
          {"learned_from", origin.file},
          {"day", origin.day},
          {"words", std::move(words)}};
}

Json sampleJson(const Explanation::SampleFacts& sample) {
  return {{"lines", sample.lines},
          {"bytes", sample.bytes},
          {"invalid_percent", toHundredths(sample.invalidPercent)},
          {"mark", sample.mark}};
}

Json lineStartsJson(const std::vector<LineStartEvidence>& candidates) {
  Json list = Json::array();
  for (const auto& candidate : candidates) {
    list.push_back({{"expression", candidate.expression},
                    {"lines", candidate.count},
                    {"spread", toHundredths(candidate.spread)},
                    {"score", toHundredths(candidate.score)},
                    {"chosen", candidate.isChosen}});
  }
  return list;
}

Json timestampsJson(const TimestampEvidence& evidence) {
  Json prefixes = Json::array();
  for (const auto& prefix : evidence.prefixes) {
    prefixes.push_back({{"expression", prefix.expression}, {"lines", prefix.lines}});
  }
  return {{"lines", evidence.lines},
          {"with_stamp", evidence.linesWithStamp},
          {"mean_start", toHundredths(evidence.meanStart)},
          {"mean_end", toHundredths(evidence.meanEnd)},
          {"prefixes", std::move(prefixes)}};
}

Json headerJson(const HeaderEvidence& evidence) {
  Json delimiters = Json::array();
  for (const auto& tried : evidence.delimiters) {
    delimiters.push_back({{"delimiter", std::string(1, tried.delimiter)},
                          {"score", toHundredths(tried.score)},
                          {"chosen", tried.isChosen}});
  }
  return {{"test", evidence.byNames ? "names" : "delimiters"},
          {"delimiters", std::move(delimiters)},
          {"line", evidence.line ? Json(*evidence.line) : Json()}};
}

Json changesJson(const std::vector<FileChange>& changes, const std::filesystem::path& home) {
  Json list = Json::array();
  for (const auto& change : changes) {
    const auto [added, removed] = countChanges(diffLines(change.before, change.after));
    list.push_back({{"file", nameBelow(home, change)}, {"added", added}, {"removed", removed}});
  }
  return list;
}

}  // namespace

Json explainAsJson(const ExplainedFile& explained, const std::filesystem::path& home) {
  const Explanation& evidence = explained.evidence;
  const auto margin = evidence.margin();
  Json json = {{"file", explained.file},
               {"sourcetype", explained.sourcetype},
               {"stage", stageName(evidence.stage())},
               {"margin", margin ? toHundredths(*margin) : Json()}};
  if (!explained.invalidCause.empty()) json["invalid_cause"] = explained.invalidCause;
  if (evidence.sample()) json["sample"] = sampleJson(*evidence.sample());
  if (evidence.linesAreEvents()) json["lines_are_events"] = *evidence.linesAreEvents();
  json["configured"] = toJson(explained.configured, false);
  json["rules"] = Json::array();
  for (const auto& rule : evidence.nearRules()) json["rules"].push_back(toJson(rule));
  json["models"] = Json::array();
  for (std::size_t i = 0; i < evidence.models().size(); ++i) {
    json["models"].push_back(toJson(evidence.models()[i], explained.origins[i]));
  }
  json["line_starts"] = lineStartsJson(evidence.lineStarts());
  if (evidence.timestamps()) json["timestamps"] = timestampsJson(*evidence.timestamps());
  if (evidence.header()) json["header"] = headerJson(*evidence.header());
  if (explained.withMoreLines) json["with_more_lines"] = toJson(*explained.withMoreLines);
  json["settings"] = toJson(explained.settings, false);
  json["would_write"] = changesJson(explained.changes, home);
  return json;
}

}  // namespace sourcetype
