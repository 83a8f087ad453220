#include "inspect/evaluate/evaluation.h"

#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <map>

#include "classifier/models/model.h"
#include "classifier/properties.h"
#include "conf/stanza_kinds.h"
#include "inspect/answer.h"
#include "inspect/session.h"
#include "inspect/trial_run.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

using std::filesystem::path;

constexpr float kNoLimit = kNoMaxDistance;
constexpr std::array kTriedLimits{40.0F, 60.0F, 100.0F, 200.0F, kNoLimit};

void expectWritten(bool isWritten) {
  if (!isWritten) throw InspectError("cannot change the configuration in memory");
}

// Empties the sourcetype of the stanzas of rules and paths: without it, they do not decide.
void disableRules(ConfStore& store) {
  Conf& props = store.getProps();
  for (const auto kind : {kRuleKind, kDelayedRuleKind, kSourceKind}) {
    for (const auto& stanza : store.stanzaNames(props, kind)) {
      PropertiesMap settings;
      store.getExactStanza(props, settings, stanza);
      if (settings.get(key::kSourcetype).empty()) continue;
      expectWritten(store.writeStanza(props, stanza, {{key::kSourcetype, ""}}, false));
    }
  }
}

// The edits that each fold begins with.
MemoryStorage::Changes firstEdits(const path& etc, const EvaluationOptions& options) {
  MemoryStorage edits;
  ConfStore store(etc, edits);
  if (!options.withLearned) edits.remove(store.learnedFile(store.getConf("sourcetypes")));
  if (!options.withRules) disableRules(store);
  return edits.changes();
}

MemoryStorage::Changes withLimit(const path& etc, const MemoryStorage::Changes& edits,
                                 float limit) {
  TrialRun run(etc, edits);
  const std::string text = fmt::format("{}", limit);
  expectWritten(run.store().writeStanza(run.store().getConf("sourcetypes"), kDefaultStanza,
                                        {{std::string(kMaxDistKey), text}}, false));
  return run.edits().changes();
}

// The "maxDist" of the stanza [default].
float configuredLimit(const path& etc, const MemoryStorage::Changes& edits) {
  TrialRun run(etc, edits);
  PropertiesMap defaults;
  run.store().getExactStanza(run.store().getConf("sourcetypes"), defaults, kDefaultStanza);
  return std::min(parseLimit(defaults.get(kMaxDistKey)).value_or(kNoLimit), kNoLimit);
}

// The greatest "maxDist" of a model; kNoLimit if a model has none and so has the limit of
// [default].
float greatestLimit(ConfStore& store) {
  float greatest = 0;
  store.visitStanzas(store.getConf("sourcetypes"), [&](std::string_view stanza, auto settings) {
    if (stanza == kDefaultStanza) return;
    const auto found = std::ranges::find(settings, kMaxDistKey, &ConfFile::Setting::key);
    const auto limit = found == settings.end() ? std::nullopt : parseLimit(found->value());
    greatest = std::max(greatest, limit.value_or(kNoLimit));
  });
  return greatest;
}

// Why a file cannot be used; empty if it can. With a given sourcetype, the flow only checks that
// the file is text.
std::string problemOf(FileClassifierManager& manager, const LabelledFile& labelled) {
  const auto file = pathFromText(labelled.file);
  const InputFile opened(file);
  if (opened.error()) return opened.error().message();
  PropertiesMap result;
  result.set(key::kSourcetype, labelled.sourcetype);
  manager.findTypeForFile(result, {.path = file, .isTrial = true});
  const auto cause = result.get(key::kInvalidCause);
  return cause == "binary" ? "the file is binary" : cause;
}

std::vector<EvaluatedFile> prepareFiles(FileClassifierManager& manager,
                                        std::span<const LabelledFile> files) {
  std::vector<EvaluatedFile> prepared;
  for (const auto& labelled : files) {
    auto& file = prepared.emplace_back();
    file.file = labelled.file;
    file.sourcetype = labelled.sourcetype;
    file.problem = problemOf(manager, labelled);
    if (!file.problem.empty()) file.verdict = Verdict::Unusable;
  }
  return prepared;
}

// Deals the files of each sourcetype out in turn. Returns the number of folds.
std::size_t assignFolds(std::vector<EvaluatedFile>& files, std::size_t maxFolds) {
  std::map<std::string_view, std::vector<EvaluatedFile*>> filesOf;
  for (auto& file : files) {
    if (file.verdict != Verdict::Unusable) filesOf[file.sourcetype].push_back(&file);
  }
  std::size_t folds = 0;
  for (auto& [sourcetype, group] : filesOf) {
    const auto groupFolds = std::min(maxFolds, group.size());
    if (groupFolds < kMinFolds) continue;
    folds = std::max(folds, groupFolds);
    for (std::size_t i = 0; i < group.size(); ++i) group[i]->fold = i % groupFolds;
  }
  return folds;
}

void classify(FileClassifierManager& manager, EvaluatedFile& file) {
  Answer answer;
  PropertiesMap result;
  manager.findTypeForFile(result,
                          {.path = pathFromText(file.file), .isTrial = true, .observer = &answer});
  file.stage = answer.stage();
  file.margin = answer.margin();
  switch (answer.stage()) {
    case Stage::Configured:
    case Stage::Rule:
    case Stage::Model:
    case Stage::DelayedRule:
      file.answer = result.get(key::kSourcetype);
      file.verdict = file.answer == file.sourcetype ? Verdict::Right : Verdict::Wrong;
      break;
    case Stage::Invalid:
      file.verdict = Verdict::Unusable;
      file.problem = "the file could be read before, and cannot any more";
      break;
    case Stage::TooSmall:
    case Stage::NewSourcetype:  // the name of the new sourcetype is made from the file's name
    case Stage::Unrecognised:
      file.verdict = Verdict::NotRecognised;
  }
}

// Learns the files of the other folds, then classifies those of this fold. Returns the greatest
// limit of the models.
float runFold(const path& etc, const MemoryStorage::Changes& edits, std::size_t fold,
              std::vector<EvaluatedFile>& files) {
  TrialRun run(etc, edits);
  for (const auto& file : files) {
    if (file.verdict == Verdict::Unusable || file.fold == fold) continue;
    run.manager().learnFile(pathFromText(file.file), file.sourcetype);
  }
  for (auto& file : files) {
    if (file.verdict != Verdict::Unusable && file.fold == fold) classify(run.manager(), file);
  }
  return greatestLimit(run.store());
}

VerdictCounts countVerdicts(const std::vector<EvaluatedFile>& files) {
  VerdictCounts counts;
  for (const auto& file : files) {
    if (file.verdict == Verdict::Right) ++counts.right;
    if (file.verdict == Verdict::Wrong) ++counts.wrong;
    if (file.verdict == Verdict::NotRecognised) ++counts.notRecognised;
  }
  return counts;
}

struct FoldsOutcome {
  std::vector<EvaluatedFile> files;
  float greatestLimit = 0;
};

// What all runs of the folds have in common.
struct Folds {
  const path& etc;
  const EvaluationOptions& options;
  std::size_t count;
  const std::vector<EvaluatedFile>& files;
};

FoldsOutcome runFolds(const Folds& folds, const MemoryStorage::Changes& edits,
                      std::string_view limit) {
  FoldsOutcome outcome{.files = folds.files, .greatestLimit = 0};
  for (std::size_t fold = 0; fold < folds.count; ++fold) {
    if (folds.options.onStep) {
      folds.options.onStep(fmt::format("limit {}: fold {} of {}", limit, fold + 1, folds.count));
    }
    outcome.greatestLimit =
        std::max(outcome.greatestLimit, runFold(folds.etc, edits, fold, outcome.files));
  }
  return outcome;
}

// Runs the folds again only for limits below that of some model: other limits change nothing.
std::vector<LimitOutcome> tryLimits(const Folds& folds, const MemoryStorage::Changes& edits,
                                    const FoldsOutcome& asConfigured) {
  const auto runWith = [&](float limit) {
    return runFolds(folds, withLimit(folds.etc, edits, limit),
                    limit == kNoLimit ? "none" : fmt::format("{}", limit));
  };
  const float configured = configuredLimit(folds.etc, edits);
  const auto unlimited = configured == kNoLimit ? asConfigured : runWith(kNoLimit);
  const auto countsWith = [&](float limit) {
    if (limit == configured) return countVerdicts(asConfigured.files);
    if (limit >= unlimited.greatestLimit) return countVerdicts(unlimited.files);
    return countVerdicts(runWith(limit).files);
  };
  std::vector<float> limits(kTriedLimits.begin(), kTriedLimits.end());
  if (std::ranges::find(limits, configured) == limits.end()) limits.push_back(configured);
  std::ranges::sort(limits);
  std::vector<LimitOutcome> outcomes;
  outcomes.reserve(limits.size());
  for (const float limit : limits) {
    outcomes.push_back({.limit = limit == kNoLimit ? std::nullopt : std::optional(limit),
                        .isConfigured = limit == configured,
                        .counts = countsWith(limit)});
  }
  return outcomes;
}

}  // namespace

Evaluation evaluate(const path& etc, std::span<const LabelledFile> files,
                    const EvaluationOptions& options) {
  const auto edits = firstEdits(etc, options);
  Evaluation evaluation;
  auto prepared = prepareFiles(TrialRun(etc, edits).manager(), files);
  evaluation.folds = assignFolds(prepared, options.folds);
  if (evaluation.folds == 0) throw InspectError("no sourcetype has two files that can be read");
  const Folds folds{etc, options, evaluation.folds, prepared};

  auto asConfigured = runFolds(folds, edits, "as configured");
  if (options.withLimits) evaluation.limits = tryLimits(folds, edits, asConfigured);

  evaluation.files = std::move(asConfigured.files);
  evaluation.counts = countVerdicts(evaluation.files);
  for (const auto& file : evaluation.files) {
    if (file.verdict == Verdict::Unusable || file.verdict == Verdict::NotEvaluated) continue;
    evaluation.table.add(file.sourcetype, file.answer);
  }
  return evaluation;
}

}  // namespace sourcetype
