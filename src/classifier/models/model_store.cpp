#include "classifier/models/model_store.h"

#include <fmt/chrono.h>
#include <fmt/core.h>

#include <algorithm>
#include <chrono>

#include "classifier/models/model.h"
#include "classifier/models/model_log.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"
#include "platform/environment.h"
#include "platform/file_system.h"
#include "util/format.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMaxMatchedSegments = 5;
constexpr std::size_t kMaxTrainedSegments = 20;

// A model closer than this was learned from the same text, so no other segment is compared.
constexpr float kSureDistance = 0.5F;

// The first and last line of a segment, both included.
struct Segment {
  std::size_t first;
  std::size_t last;
};

// A segment begins at every thousandth line. It has a thousand lines or, where the sample ends
// before, a hundred.
std::optional<Segment> segmentOf(const Sample& sample, std::size_t number) {
  constexpr std::size_t kStep = 1000;
  const std::size_t first = number * kStep;
  if (sample.lineCount() < first + kMinModelLines) return std::nullopt;
  const bool isWhole = sample.lineCount() >= first + kStep;
  return Segment{.first = first, .last = first + (isWhole ? kStep : kMinModelLines) - 1};
}

std::uint32_t seedOfThisRun() {
  const auto now = std::chrono::system_clock::now().time_since_epoch().count();
  return static_cast<std::uint32_t>(now) ^ (processId() << 16U) ^ processId();
}

}  // namespace

std::uint32_t StanzaNumbers::next() {
  const std::scoped_lock lock(mutex_);
  seed_ = (12345U - seed_ * 1043968403U) & 0x7FFFFFFFU;
  return seed_;
}

ModelStore::ModelStore(ConfStore& store, ClassifierSettings& settings)
    : store_(store), settings_(settings), stanzaNumbers_(seedOfThisRun()) {}

ModelIndex& ModelStore::models() {
  if (models_) return *models_;
  models_.emplace();
  stanzas_.clear();
  Conf& conf = store_.getConf("sourcetypes");
  const std::string& inherited = inheritedMaxDist();
  constexpr std::size_t kBytesPerWord = 24;  // of the file, line shapes included
  models_->reserve(fileIdentity(store_.learnedFile(conf)).size / kBytesPerWord);
  store_.visitStanzas(conf, [&](std::string_view stanza, auto settings) {
    if (stanza == kDefaultStanza) return;
    TextKeeper keeper;
    const auto model = loadModel(stanza, settings, inherited, keeper);
    if (!model) return;
    models_->add(*model);
    stanzas_.emplace_back(stanza);
  });
  store_.reload(conf);  // frees the settings: the index replaces them
  return *models_;
}

const std::string& ModelStore::inheritedMaxDist() {
  if (!inheritedMaxDist_) {
    PropertiesMap defaults;
    store_.getExactStanza(store_.getConf("sourcetypes"), defaults, kDefaultStanza);
    inheritedMaxDist_ = defaults.get(kMaxDistKey);
  }
  return *inheritedMaxDist_;
}

bool ModelStore::hasEnoughLines(std::string_view fileName, const Sample& sample) const {
  if (sample.lineCount() >= kMinModelLines) return true;
  logMessage(LogLevel::Warn, kModelLog, "FILE_CLASSIFIER_TOO_FEW_LINES__%lu_%s_%lu",
             sample.lineCount(), fileName, kMinModelLines);
  return false;
}

std::optional<std::string> ModelStore::matchModels(std::string_view fileName, const Sample& sample,
                                                   FlowObserver* observer) {
  logDebug(kModelLog, "Finding type for file: %s", fileName);
  if (!hasEnoughLines(fileName, sample)) return std::nullopt;
  const auto [segment, closest] = closestSegment(sample);
  if (observer != nullptr) tellModels(sample, segment, *observer);
  if (!closest || closest->distance > kAcceptDistance) return std::nullopt;
  return std::string(closest->sourcetype);
}

// Nothing if the sample ends before the segment.
std::optional<Fingerprint> ModelStore::fingerprintOf(const Sample& sample, std::size_t segment) {
  const auto lines = segmentOf(sample, segment);
  if (!lines) return std::nullopt;
  return buildModel(sample, lines->first, lines->last, settings_.ignoredModelKeywords());
}

ModelStore::ClosestSegment ModelStore::closestSegment(const Sample& sample) {
  ClosestSegment best;
  for (std::size_t number = 0; number < kMaxMatchedSegments; ++number) {
    const auto fingerprint = fingerprintOf(sample, number);
    if (!fingerprint) break;
    const auto closest = models().findClosestModel(*fingerprint);
    if (closest && (!best.closest || closest->distance < best.closest->distance)) {
      best = {.number = number, .closest = closest};
    }
    if (best.closest && best.closest->distance < kSureDistance) break;
  }
  return best;
}

// Tells the closest models, or, without losers, the closest one and the closest of another
// sourcetype.
void ModelStore::tellModels(const Sample& sample, std::size_t segment, FlowObserver& observer) {
  constexpr std::size_t kMaxTold = 5;
  const auto fingerprint = fingerprintOf(sample, segment);
  if (!fingerprint) return;
  std::vector<ModelEvidence> told;
  for (const auto& ranked : models().rankModels(*fingerprint)) {
    const bool isRival = told.empty() || ranked.sourcetype != told.front().sourcetype;
    if (told.size() == kMaxTold || (!isRival && !observer.wantsLosers())) continue;
    auto& model = told.emplace_back();
    model.stanza = stanzas_[ranked.model];
    model.sourcetype = ranked.sourcetype;
    model.distance = ranked.wordDistance + ranked.shapeDistance;
    model.wordDistance = ranked.wordDistance;
    model.maxWordDistance = ranked.maxWordDistance;
    for (const auto& [text, weight] : ranked.words) {
      model.words.push_back({.text = std::string(text), .weight = weight});
    }
    model.isAccepted = ranked.distance <= kAcceptDistance;
  }
  observer.measuredModels(told);
}

bool ModelStore::trainModels(std::string_view fileName, const Sample& sample,
                             std::string_view sourcetype, std::size_t maxModels) {
  if (!hasEnoughLines(fileName, sample)) return false;
  bool isLearned = false;
  bool isKnown = false;
  for (std::size_t number = 0; number < kMaxTrainedSegments; ++number) {
    const auto model = fingerprintOf(sample, number);
    if (!model || countModels(sourcetype) >= maxModels) break;
    const auto closest = models().findClosestModel(*model);
    const bool isClose = closest && closest->distance <= kAcceptDistance;
    isKnown = isKnown || isClose;
    if (isClose && closest->sourcetype == sourcetype) continue;
    if (!addModel(fileName, *model, sourcetype)) break;
    isLearned = true;
  }
  return isLearned || isKnown;
}

bool ModelStore::addModel(std::string_view fileName, const Fingerprint& model,
                          std::string_view sourcetype) {
  TextKeeper keeper;
  ModelView view = viewOf(model, sourcetype, keeper);
  const float limit = parseLimit(inheritedMaxDist()).value_or(kNoMaxDistance);
  const std::string maxDistance = formatText("%.1f", std::min(models().limitFor(view), limit));
  const std::string stanza = makeStanzaName(fileName);
  if (!store_.writeLearnedStanza(store_.getConf("sourcetypes"), stanza,
                                 saveModel(model, fileName, sourcetype, maxDistance))) {
    ++failedModels_;
    return false;
  }
  view.maxDistance = parseLimit(maxDistance).value_or(kNoMaxDistance);
  models().add(view);
  stanzas_.push_back(stanza);
  addedStanzas_.push_back(stanza);
  return true;
}

std::string ModelStore::makeStanzaName(std::string_view fileName) {
  const auto now = std::chrono::floor<std::chrono::seconds>(std::chrono::system_clock::now());
  const auto time = fmt::gmtime(std::chrono::system_clock::to_time_t(now));
  std::string name =
      fmt::format("{}_{:%Y-%m-%dT%H:%M:%SZ}_{}", fileName, time, stanzaNumbers_.next());
  std::ranges::replace(name, ' ', '_');
  return name;
}

std::size_t ModelStore::countModels(std::string_view sourcetype) {
  return models().countModels(sourcetype);
}

}  // namespace sourcetype
