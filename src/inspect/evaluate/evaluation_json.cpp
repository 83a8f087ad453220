#include "inspect/evaluate/evaluation_json.h"

#include <fmt/core.h>

#include <algorithm>
#include <nlohmann/json.hpp>

#include "inspect/output.h"

namespace sourcetype {
namespace {

std::string_view verdictName(Verdict verdict) {
  switch (verdict) {
    case Verdict::Right:
      return "right";
    case Verdict::Wrong:
      return "wrong";
    case Verdict::NotRecognised:
      return "not_recognised";
    case Verdict::Unusable:
      return "unusable";
    case Verdict::NotEvaluated:
      break;
  }
  return "not_evaluated";
}

// With as few digits as the number needs: 0.1 of single precision is no 0.1 of double precision.
Json limitAsJson(const std::optional<float>& limit) {
  return limit ? Json::parse(fmt::format("{}", *limit)) : Json(nullptr);
}

void addCounts(Json& object, const VerdictCounts& counts) {
  object["right"] = counts.right;
  object["wrong"] = counts.wrong;
  object["not_recognised"] = counts.notRecognised;
}

Json tableAsJson(const ConfusionTable& table) {
  const auto answered = table.answered();
  Json columns = Json::array();
  for (const auto& name : answered) columns.push_back(textOrNull(name));
  Json rows = Json::array();
  for (const auto& actual : table.actual()) {
    Json row = Json::array();
    for (const auto& name : answered) row.push_back(table.count(actual, name));
    rows.push_back(row);
  }
  return {{"actual", table.actual()}, {"answered", columns}, {"counts", rows}};
}

}  // namespace

Json fileAsJson(const EvaluatedFile& file) {
  Json object = {{"file", file.file},
                 {"sourcetype", file.sourcetype},
                 {"verdict", verdictName(file.verdict)},
                 {"answer", textOrNull(file.answer)},
                 {"stage", file.stage ? Json(stageName(*file.stage)) : Json(nullptr)},
                 {"margin", file.margin ? Json(*file.margin) : Json(nullptr)},
                 {"fold", file.fold ? Json(*file.fold + 1) : Json(nullptr)}};
  if (!file.problem.empty()) object["problem"] = file.problem;
  return object;
}

Json summaryAsJson(const Evaluation& evaluation) {
  Json summary = {{"files", evaluation.files.size()}, {"folds", evaluation.folds}};
  addCounts(summary, evaluation.counts);
  const auto count = [&](Verdict verdict) {
    return std::ranges::count(evaluation.files, verdict, &EvaluatedFile::verdict);
  };
  summary["unusable"] = count(Verdict::Unusable);
  summary["not_evaluated"] = count(Verdict::NotEvaluated);
  summary["table"] = tableAsJson(evaluation.table);
  summary["confused"] = Json::array();
  for (const auto& pair : evaluation.table.confusedPairs()) {
    summary["confused"].push_back({{"first", pair.first},
                                   {"second", pair.second},
                                   {"first_as_second", pair.firstAsSecond},
                                   {"second_as_first", pair.secondAsFirst}});
  }
  summary["limits"] = Json::array();
  for (const auto& outcome : evaluation.limits) {
    Json entry = {{"max_dist", limitAsJson(outcome.limit)}, {"configured", outcome.isConfigured}};
    addCounts(entry, outcome.counts);
    summary["limits"].push_back(entry);
  }
  return {{"summary", summary}};
}

}  // namespace sourcetype
