// The distance of a model M from a file F is
//   100000 / |words of M or F| x sum over these words of (factor x (a - b))^2
//   + 600 x (1 - shape similarity)
// where a and b are the weights of a word in M and in F. The sum equals
//   the sum of (factor x a)^2 over the words of M    (known for each model)
//   + the sum of (factor x b)^2 over the words of F  (the same for all models)
//   - 2 x the sum of factor^2 x a x b over the common words  (from the postings of F's words).
// This makes a lower bound of the distance cheap for every model. Only the models that could be the
// closest are then measured as the distance is defined: in single precision, word by word in order.
#include "classifier/models/model_index.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <utility>

namespace sourcetype {
namespace {

constexpr float kTermScale = 100000.0F;
constexpr float kShapeScale = 600.0F;

// A file that has so many words, and none of the model, is beyond the limit of the model. Without
// this, prose came within half of the distance of an empty file to models of few words.
constexpr double kOtherWords = 50;
// Above the distance between two logs without words.
constexpr double kMinLearnedLimit = 1;

// Bounds of the difference between the cheap sums, which have another order and double precision,
// and the distance as it is defined. Single precision loses up to 2^-24 in each of some hundred
// steps. The subtraction loses the rounding error of the large sums.
constexpr double kRelativeError = 1e-3;
constexpr double kAbsoluteError = 1e-3;
constexpr double kCancellationError = 1e-10;

constexpr std::uint32_t kNoModel = ~0U;

double squared(double value) {
  return value * value;
}

float shapeSimilarity(std::size_t common, std::size_t left, std::size_t right) {
  if (left == 0 || right == 0 || common == 0) return 0;
  const auto i = static_cast<float>(common);
  const auto smaller = static_cast<float>(std::min(left, right));
  const auto larger = static_cast<float>(std::max(left, right));
  return i / smaller * (2.0F / 3.0F) + i / larger * (1.0F / 3.0F);
}

}  // namespace

void ModelIndex::add(const ModelView& model) {
  const auto number = static_cast<std::uint32_t>(models_.size());
  const auto sourcetype = sourcetypes_.intern(model.sourcetype);
  modelsOfSourcetype_.resize(sourcetypes_.size());
  ++modelsOfSourcetype_[sourcetype];
  models_.push_back({.sourcetype = sourcetype,
                     .maxDistance = model.maxDistance,
                     .firstTerm = static_cast<std::uint32_t>(terms_.size()),
                     .termCount = static_cast<std::uint32_t>(model.words.size()),
                     .firstShape = static_cast<std::uint32_t>(modelShapes_.size()),
                     .shapeCount = 0});
  const auto addWord = [&](const ModelView::Word& word, std::uint32_t id) {
    if (id == frequencies_.size()) frequencies_.push_back(0);
    ++frequencies_[id];
    terms_.push_back({.word = id, .weight = word.weight});
  };
  words_.internEach(model.words, &ModelView::Word::text, addWord);
  const auto addShape = [&](std::string_view /*shape*/, std::uint32_t id) {
    if (id == lastModelOfShape_.size()) lastModelOfShape_.push_back(kNoModel);
    // A shape that is written in two ways counts once.
    if (std::exchange(lastModelOfShape_[id], number) == number) return;
    modelShapes_.push_back(id);
    ++models_.back().shapeCount;
  };
  shapes_.internEach(model.shapes, std::identity(), addShape);
}

std::size_t ModelIndex::countModels(std::string_view sourcetype) const {
  const auto id = sourcetypes_.find(sourcetype);
  return id ? modelsOfSourcetype_[*id] : 0;
}

// The factor of a word: the fewer models have the word, the larger it is.
float ModelIndex::factorOf(std::size_t documentFrequency, std::size_t modelCount) {
  const auto frequency = static_cast<float>(std::max<std::size_t>(documentFrequency, 1));
  return std::log(static_cast<float>(modelCount) / frequency + 1.0F);
}

float ModelIndex::limitFor(const ModelView& model) const {
  double norm = 0;
  for (const auto& [text, weight] : model.words) {
    const auto word = words_.find(text);
    const std::size_t others = word ? frequencies_[*word] : 0;
    norm += squared(static_cast<double>(factorOf(others + 1, models_.size() + 1)) * weight);
  }
  const auto count = static_cast<double>(model.words.size());
  const double words = std::max(count + kOtherWords, 2 * count);
  return static_cast<float>(std::max(norm / words * kTermScale, kMinLearnedLimit));
}

void ModelIndex::buildPostings() {
  // The running sum of the counts is where the entries of each word end. Each entry is then put
  // before the end, which moves the end down to where the entries begin.
  const auto sumUp = [](auto& postings) {
    std::partial_sum(postings.begins.begin(), postings.begins.end(), postings.begins.begin());
    postings.entries.resize(postings.begins.back());
  };
  wordPostings_.begins = frequencies_;
  wordPostings_.begins.push_back(0);
  sumUp(wordPostings_);
  shapePostings_.begins.assign(shapes_.size() + 1, 0);
  for (const auto shape : modelShapes_) ++shapePostings_.begins[shape];
  sumUp(shapePostings_);
  for (auto number = static_cast<std::uint32_t>(models_.size()); number-- > 0;) {
    const Model& model = models_[number];
    for (std::uint32_t i = 0; i < model.termCount; ++i) {
      const auto& [word, weight] = terms_[model.firstTerm + i];
      wordPostings_.entries[--wordPostings_.begins[word]] = {.model = number, .weight = weight};
    }
    for (std::uint32_t i = 0; i < model.shapeCount; ++i) {
      const auto shape = modelShapes_[model.firstShape + i];
      shapePostings_.entries[--shapePostings_.begins[shape]] = number;
    }
  }
}

void ModelIndex::refresh() {
  if (refreshedSize_ == models_.size()) return;
  refreshedSize_ = models_.size();
  buildPostings();
  factors_.resize(words_.size());
  for (std::size_t word = 0; word < factors_.size(); ++word) {
    factors_[word] = factorOf(frequencies_[word], models_.size());
  }
  norms_.clear();
  for (const auto& model : models_) {
    double norm = 0;
    for (std::size_t i = 0; i < model.termCount; ++i) {
      const auto& [word, weight] = terms_[model.firstTerm + i];
      norm += squared(static_cast<double>(factors_[word]) * weight);
    }
    norms_.push_back(norm);
  }
}

// Measures what each model has in common with the file, by the postings of the file's words and
// shapes.
void ModelIndex::measureCommonParts(const Fingerprint& file) {
  measures_.assign(models_.size(), {});
  for (const auto& [text, fileWeight] : file.words) {
    const auto word = words_.find(text);
    if (!word) continue;
    const double share = squared(factors_[*word]) * fileWeight;
    for (const auto& [model, weight] : wordPostings_.of(*word)) {
      measures_[model].dot += share * weight;
      ++measures_[model].commonWords;
    }
  }
  for (const auto& [text, count] : file.shapes) {
    const auto shape = shapes_.find(storedShape(text));
    if (!shape) continue;
    for (const auto model : shapePostings_.of(*shape)) ++measures_[model].commonShapes;
  }
}

double ModelIndex::fileNorm(const Fingerprint& file) const {
  double norm = 0;
  for (const auto& [text, weight] : file.words) {
    const auto word = words_.find(text);
    norm +=
        squared(static_cast<double>(word ? factors_[*word] : factorOf(1, models_.size())) * weight);
  }
  return norm;
}

std::optional<ModelIndex::Closest> ModelIndex::findClosestModel(const Fingerprint& file) {
  refresh();
  measureCommonParts(file);
  const double norm = fileNorm(file);
  double maxOfClosest = kInfiniteDistance;  // the closest model is at most this far away
  for (std::size_t i = 0; i < models_.size(); ++i) {
    const Model& model = models_[i];
    Measure& measure = measures_[i];
    const std::size_t words = model.termCount + file.words.size() - measure.commonWords;
    const double scale = words == 0 ? 0 : kTermScale / static_cast<double>(words);
    const double term = std::max(0.0, scale * (norms_[i] + norm - 2 * measure.dot));
    const double error =
        kAbsoluteError + kRelativeError * term + kCancellationError * scale * (norms_[i] + norm);
    const double shapes = shapeDistance(model, measure, file);
    const double limit = model.maxDistance;
    measure.minDistance = term - error > limit ? kInfiniteDistance : shapes + term - error;
    if (term + error <= limit) maxOfClosest = std::min(maxOfClosest, shapes + term + error);
  }
  std::optional<Closest> closest;
  float best = kInfiniteDistance;
  for (std::size_t i = 0; i < models_.size(); ++i) {
    if (measures_[i].minDistance > maxOfClosest) continue;
    const float distance = exactDistance(models_[i], measures_[i], file);
    if (distance < best) {
      best = distance;
      closest = {.sourcetype = sourcetypes_.text(models_[i].sourcetype), .distance = distance};
    }
  }
  return closest;
}

float ModelIndex::shapeDistance(const Model& model, const Measure& measure,
                                const Fingerprint& file) const {
  return (1.0F - shapeSimilarity(measure.commonShapes, model.shapeCount, file.shapes.size())) *
         kShapeScale;
}

float ModelIndex::wordDistance(const Model& model, const Fingerprint& file) const {
  float sum = 0;
  std::size_t words = 0;
  const auto addWord = [&](float factor, float difference) {
    ++words;
    if (difference != 0) sum += (factor * difference) * (factor * difference);
  };
  const Term* term = terms_.data() + model.firstTerm;
  const Term* const lastTerm = term + model.termCount;
  auto word = file.words.begin();
  while (term != lastTerm || word != file.words.end()) {
    const int order = term == lastTerm           ? 1
                      : word == file.words.end() ? -1
                                                 : words_.text(term->word).compare(word->text);
    if (order > 0) {
      const auto known = words_.find(word->text);
      addWord(known ? factors_[*known] : factorOf(1, models_.size()), -word->weight);
    } else {
      addWord(factors_[term->word], order < 0 ? term->weight : term->weight - word->weight);
    }
    if (order <= 0) ++term;
    if (order >= 0) ++word;
  }
  return words == 0 ? 0 : sum / static_cast<float>(words) * kTermScale;
}

float ModelIndex::exactDistance(const Model& model, const Measure& measure,
                                const Fingerprint& file) const {
  const float part = wordDistance(model, file);
  if (part > model.maxDistance) return kInfiniteDistance;
  return shapeDistance(model, measure, file) + part;
}

std::vector<ModelIndex::Ranked> ModelIndex::rankModels(const Fingerprint& file) {
  refresh();
  measureCommonParts(file);
  std::vector<Ranked> ranked;
  for (std::size_t i = 0; i < models_.size(); ++i) {
    const Model& model = models_[i];
    ranked.push_back({.model = i,
                      .sourcetype = sourcetypes_.text(model.sourcetype),
                      .distance = exactDistance(model, measures_[i], file),
                      .wordDistance = wordDistance(model, file),
                      .shapeDistance = shapeDistance(model, measures_[i], file),
                      .maxWordDistance = model.maxDistance,
                      .words = heaviestWords(model, file)});
  }
  std::ranges::stable_sort(ranked, [](const Ranked& left, const Ranked& right) {
    return std::pair(left.distance, left.wordDistance) <
           std::pair(right.distance, right.wordDistance);
  });
  return ranked;
}

std::vector<ModelIndex::WeighedWord> ModelIndex::heaviestWords(const Model& model,
                                                               const Fingerprint& file) const {
  std::vector<WeighedWord> common;
  double sum = 0;
  for (std::size_t i = 0; i < model.termCount; ++i) {
    const auto& [word, weight] = terms_[model.firstTerm + i];
    const auto text = words_.text(word);
    const auto found = std::ranges::lower_bound(file.words, text, {}, &Fingerprint::Word::text);
    if (found == file.words.end() || found->text != text) continue;
    const double share = squared(factors_[word]) * weight * found->weight;
    sum += share;
    common.push_back({.text = text, .weight = share});
  }
  std::ranges::stable_sort(common, std::ranges::greater(), &WeighedWord::weight);
  if (common.size() > kMaxRankedWords) common.resize(kMaxRankedWords);
  for (auto& word : common) word.weight /= sum;
  return common;
}

}  // namespace sourcetype
