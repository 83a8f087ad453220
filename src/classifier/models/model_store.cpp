#include "classifier/models/model_store.h"

#include <fmt/chrono.h>
#include <fmt/core.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>

#include "classifier/models/model.h"
#include "conf/message_catalog.h"
#include "conf/stanza_kinds.h"
#include "platform/environment.h"
#include "platform/file_system.h"
#include "platform/path_form.h"
#include "util/text.h"

namespace sourcetype {
namespace {

constexpr LogCategory kModelLog{"FileClassifierManager"};

constexpr std::size_t kMatchedSegments = 5;
constexpr std::size_t kTrainedSegments = 20;

// A model this close is the file's own: no other segment needs to be looked at.
constexpr float kSureDistance = 0.5F;

// Lines of one segment, both included.
struct Segment {
  std::size_t first;
  std::size_t last;
};

// Segments begin every thousand lines and have a thousand or, at the end of the sample, a hundred.
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

bool namesSourcetype(std::string_view stanza) {
  constexpr std::array kOtherKinds{kSourceKind, kRuleKind, kDelayedRuleKind, kEventtypeKind};
  return stanza != kDefaultStanza && std::ranges::none_of(kOtherKinds, [&](std::string_view kind) {
           return stanza.starts_with(kind);
         });
}

void logKept(std::string_view source) {
  logWarn(kModelLog, "What was learned of %s before is kept.", source);
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
  Conf& conf = store_.getConf("sourcetypes");
  const std::string& inherited = inheritedMaxDist();
  constexpr std::size_t kBytesPerWord = 24;  // in the file, with its share of line shapes
  models_->reserve(fileIdentity(store_.learnedFile(conf)).size / kBytesPerWord);
  store_.visitStanzas(conf, [&](std::string_view stanza, auto settings) {
    if (stanza == kDefaultStanza) return;
    TextKeeper keeper;
    const auto model = loadModel(stanza, settings, inherited, keeper);
    if (model) models_->add(*model);
  });
  store_.reload(conf);  // the index is all that is needed
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

std::optional<std::string> ModelStore::matchModels(std::string_view fileName,
                                                   const Sample& sample) {
  logDebug(kModelLog, "Finding type for file: %s", fileName);
  if (!hasEnoughLines(fileName, sample)) return std::nullopt;
  const auto closest = findClosest(sample);
  if (!closest || closest->distance > kAcceptDistance) return std::nullopt;
  return std::string(closest->sourcetype);
}

std::optional<ModelIndex::Closest> ModelStore::findClosest(const Sample& sample) {
  std::optional<ModelIndex::Closest> best;
  for (std::size_t number = 0; number < kMatchedSegments; ++number) {
    const auto segment = segmentOf(sample, number);
    if (!segment) break;
    const auto closest = models().findClosestModel(
        buildModel(sample, segment->first, segment->last, settings_.ignoredModelKeywords()));
    if (closest && (!best || closest->distance < best->distance)) best = closest;
    if (best && best->distance < kSureDistance) break;
  }
  return best;
}

bool ModelStore::trainModels(std::string_view fileName, const Sample& sample,
                             std::string_view sourcetype, std::size_t maxModels) {
  if (!hasEnoughLines(fileName, sample)) return false;
  bool isLearned = false;
  bool isKnown = false;
  for (std::size_t number = 0; number < kTrainedSegments; ++number) {
    const auto segment = segmentOf(sample, number);
    if (!segment || countModels(sourcetype) >= maxModels) break;
    const Fingerprint model =
        buildModel(sample, segment->first, segment->last, settings_.ignoredModelKeywords());
    const auto closest = models().findClosestModel(model);
    const bool isClose = closest && closest->distance <= kAcceptDistance;
    isKnown = isKnown || isClose;
    if (isClose && closest->sourcetype == sourcetype) continue;
    if (!addModel(fileName, model, sourcetype)) break;
    isLearned = true;
  }
  return isLearned || isKnown;
}

bool ModelStore::addModel(std::string_view fileName, const Fingerprint& model,
                          std::string_view sourcetype) {
  models();  // read before the file has one more
  const std::string stanza = makeStanzaName(fileName);
  const auto source = trimBlanks(fileName);
  if (!store_.writeLearnedStanza(store_.getConf("sourcetypes"), stanza,
                                 saveModel(model, fileName, sourcetype))) {
    ++failedModels_;
    if (forgotten_.erase(std::string(source)) > 0) logKept(source);
    keepForgotten();
    return false;
  }
  TextKeeper keeper;
  models().add(viewOf(model, sourcetype, inheritedMaxDist(), keeper));
  ++addedModels_;
  addedStanzas_.emplace(stanza);
  learnedSources_.emplace(source);
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

void ModelStore::forget() {
  models_.emplace();
  addedStanzas_.clear();
  learnedSources_.clear();
  keepsForgotten_ = false;
  Conf& conf = store_.getConf("sourcetypes");
  const auto file = store_.learnedFile(conf);
  store_.visitStanzas(conf, [&](std::string_view stanza, auto settings) {
    if (stanza == kDefaultStanza || settings.empty()) return;
    if (store_.settingFile(conf, stanza, settings.front().key()) != file) return;  // a bundled one
    const auto source = std::ranges::find(settings, kSourceKey, &ConfFile::Setting::key);
    forgotten_[source == settings.end() ? "" : std::string(source->value())].emplace(stanza);
  });
  store_.reload(conf);
}

void ModelStore::dropForgotten() {
  ConfStore::StanzaNames names;
  for (auto& [source, stanzas] : forgotten_) {
    if (!keepsForgotten_ || learnedSources_.contains(source)) {
      names.merge(stanzas);
    } else {
      logKept(source);
    }
  }
  forgotten_.clear();
  Conf& conf = store_.getConf("sourcetypes");
  const auto dropped = store_.dropLearnedStanzas(conf, names, addedStanzas_);
  if (dropped.error) {
    logError(kModelLog, "reset failed to unlink %s: %m", pathToText(store_.learnedFile(conf)),
             dropped.error);
  } else if (dropped.stanzas > 0) {
    const auto copy = absolutePath(dropped.copy);
    auto original = copy;
    original.replace_extension();  // without ".old"
    logWarn(kModelLog, "Learned models set aside in %s: %lu. To restore them, rename it to %s.",
            pathToText(copy), dropped.stanzas, pathToText(original));
  }
  models_.reset();  // the file may hold more than this run has added
}

void ModelStore::adjustMaxDist() {
  constexpr std::size_t kManySourcetypes = 3000;
  constexpr std::int64_t kLeastLimit = 500;
  constexpr std::int64_t kUnsetLimit = 100;
  Conf& props = store_.getProps();
  const auto count = store_.countStanzas(props, "", namesSourcetype);
  if (count <= kManySourcetypes) return;
  const auto root = static_cast<std::int64_t>(std::sqrt(static_cast<double>(count)));
  const std::int64_t limit = std::max(2 * root + 100, kLeastLimit);
  PropertiesMap defaults;
  store_.getStanzaSettings(props, defaults, kDefaultStanza, PatternMatching::No);
  const std::int64_t current = defaults.getInt(kMaxDistKey, kUnsetLimit);
  if (limit == current) return;
  if (limit > current) {
    logMessage(LogLevel::Info, kModelLog, "FILE_CLASSIFIER_INCREASING_MAX_DIST__%lu", count);
  }
  store_.writeStanza(props, kDefaultStanza, {{kMaxDistKey, std::to_string(limit)}}, false);
}

}  // namespace sourcetype
