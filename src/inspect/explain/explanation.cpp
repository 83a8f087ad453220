#include "inspect/explain/explanation.h"

#include <algorithm>
#include <functional>
#include <utility>

#include "classifier/models/model.h"
#include "classifier/properties.h"
#include "classifier/rules.h"
#include "classifier/sample.h"
#include "inspect/learned/learned_types.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMaxLosers = 5;

std::vector<ModelOrigin> originsOf(const std::vector<ModelEvidence>& models, ConfStore& store) {
  std::vector<ModelOrigin> origins;
  for (const auto& model : models) {
    PropertiesMap settings;
    store.getExactStanza(store.getConf("sourcetypes"), settings, model.stanza);
    const auto time = timeOfModel(model.stanza);
    origins.push_back({.file = settings.get(kSourceKey), .day = time.substr(0, time.find('T'))});
  }
  return origins;
}

// A setting that the flow copied from configuration has the place that it has there.
void addConfiguredPlaces(std::vector<SourcedSetting>& settings,
                         const std::vector<SourcedSetting>& configured) {
  for (auto& setting : settings) {
    if (!setting.places.empty()) continue;
    const auto found = std::ranges::find(configured, setting.key, &SourcedSetting::key);
    if (found != configured.end() && found->value == setting.value) setting = *found;
  }
}

// The flow does not try rules on a file of few lines.
std::optional<RuleEvidence> ruleForFewLines(TrialRun& run, const TypeRequest& request,
                                            const PropertiesMap& result) {
  Explanation evidence;
  const auto sample = request.sampleText
                          ? readSampleText(*request.sampleText, result, "standard input")
                          : readSample(request.path, result, kDefaultMaxLines);
  if (!sample || sample->lineCount() == 0) return std::nullopt;
  MatchBudget budget(kMaxFileCost);
  Rules rules(run.store());
  for (const auto timing : {RuleTiming::BeforeModels, RuleTiming::AfterModels}) {
    if (rules.findRuleSourcetype(Rules::testedLines(*sample), timing, budget, &evidence)) {
      return evidence.nearRules().front();
    }
  }
  return std::nullopt;
}

}  // namespace

void Explanation::configured(const PropertiesMap& settings, std::string_view /*sourcetype*/) {
  configured_ = settings;
}

void Explanation::sampled(const Sample& sample) {
  const auto total = static_cast<double>(sample.bytesRead());
  sample_ = {
      .lines = sample.lineCount(),
      .bytes = sample.bytesRead(),
      .invalidPercent = total > 0 ? 100 * static_cast<double>(sample.invalidCount()) / total : 0,
      .mark = sample.detectedCharset()};
}

void Explanation::testedRule(const RuleEvidence& rule) {
  Answer::testedRule(rule);
  if (rule.wasTried) ++triedRules_;
  if (rule.decided || nearnessOf(rule) > 0) rules_.push_back(rule);
}

std::vector<RuleEvidence> Explanation::nearRules() const {
  std::vector<RuleEvidence> near = rules_;
  std::ranges::stable_sort(near, std::ranges::greater(), [](const RuleEvidence& rule) {
    return std::pair(rule.decided, nearnessOf(rule));
  });
  const std::size_t winners = !near.empty() && near.front().decided ? 1 : 0;
  if (near.size() > kMaxLosers + winners) near.resize(kMaxLosers + winners);
  return near;
}

void Explanation::measuredModels(std::span<const ModelEvidence> models) {
  Answer::measuredModels(models);
  models_.assign(models.begin(), models.end());
}

void Explanation::ratedLineStarts(std::span<const LineStartEvidence> candidates) {
  lineStarts_.assign(candidates.begin(), candidates.end());
}

ExplainedFile explainFile(const std::filesystem::path& etc, const std::string& word,
                          Explanation& evidence) {
  InputWord input = resolveInput(word);
  TrialRun run(etc);
  const TypeRequest request{
      .path = std::move(input.path), .sampleText = std::move(input.text), .observer = &evidence};
  PropertiesMap result;
  run.manager().findTypeForFile(result, request);
  return explainResult(run, word, request, std::move(result), evidence);
}

ExplainedFile explainResult(TrialRun& run, const std::string& name, const TypeRequest& request,
                            PropertiesMap result, const Explanation& evidence) {
  ConfStore& store = run.store();
  Conf& props = store.getProps();
  ExplainedFile explained{.file = name,
                          .sourcetype = result.get(key::kSourcetype),
                          .invalidCause = result.get(key::kInvalidCause),
                          .evidence = evidence,
                          .origins = originsOf(evidence.models(), store),
                          .configured = sourcesOf(evidence.configuredSettings(), store, props),
                          .settings = {},
                          .changes = changesOf(run.edits()),
                          .withMoreLines = {}};
  result.remove(key::kSourcetype);
  result.remove(key::kIsValid);
  result.remove(key::kInvalidCause);
  explained.settings = sourcesOf(result, store, props);
  addConfiguredPlaces(explained.settings, explained.configured);
  if (evidence.stage() == Stage::TooSmall) {
    explained.withMoreLines = ruleForFewLines(run, request, result);
  }
  return explained;
}

}  // namespace sourcetype
