// All models of a run, indexed by their words and shapes, so that the closest model is found
// without measuring the distance to each.
//
//   ModelIndex index;
//   index.add(model);
//   if (const auto closest = index.findClosestModel(fingerprint)) ...
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "classifier/models/fingerprint.h"
#include "classifier/models/model.h"
#include "classifier/models/vocabulary.h"

namespace sourcetype {

// The distance of a model whose words are farther away than its limit allows.
inline constexpr float kInfiniteDistance = 100000000.0F;

class ModelIndex {
 public:
  struct Closest {
    std::string_view sourcetype;  // lives as long as the index
    float distance;
  };

  // Reserves memory for about `words` words of models: moving millions of them is slow.
  void reserve(std::size_t words) { terms_.reserve(words); }

  // Appends a model to the list. Copies what it needs of `model`.
  void add(const ModelView& model);

  // Returns the model at the smallest distance; among equals the one that was added first. Returns
  // nothing when every model is infinitely far away.
  std::optional<Closest> findClosestModel(const Fingerprint& file);

  // A word that a model and a file have in common.
  struct WeighedWord {
    std::string_view text;  // lives as long as the index
    double weight;          // its share of the sum over all common words, from 0 to 1
  };
  struct Ranked {
    std::size_t model;  // its number, in the order in which models were added
    std::string_view sourcetype;
    float distance;  // kInfiniteDistance beyond the limit
    float wordDistance;
    float shapeDistance;
    float maxWordDistance;
    std::vector<WeighedWord> words;  // at most kMaxRankedWords, the heaviest first
  };
  static constexpr std::size_t kMaxRankedWords = 5;
  // Returns all models in ascending order of their distances; those beyond their limits last, by
  // their word distances. Measures every model: for explanations.
  std::vector<Ranked> rankModels(const Fingerprint& file);

  // Returns a limit for the distance between the words of a model that is about to be added and those
  // of a file: half of the distance of an empty file, and less for a model of fewer than 50 words.
  float limitFor(const ModelView& model) const;

  std::size_t size() const { return models_.size(); }
  std::size_t countModels(std::string_view sourcetype) const;

 private:
  struct Term {
    std::uint32_t word;
    float weight;
  };
  struct Model {
    std::uint32_t sourcetype;  // number in sourcetypes_
    float maxDistance;
    std::uint32_t firstTerm;  // index in terms_; terms are in byte order of their words
    std::uint32_t termCount;
    std::uint32_t firstShape;  // index in modelShapes_
    std::uint32_t shapeCount;
  };
  struct Posting {
    std::uint32_t model;
    float weight;
  };
  // For each word or shape, the models that have it. One array contains the entries of all.
  template <class Entry>
  struct Postings {
    std::vector<std::uint32_t> begins;  // where the entries of each begin; then where all end
    std::vector<Entry> entries;

    std::span<const Entry> of(std::uint32_t id) const {
      return std::span(entries).subspan(begins[id], begins[id + 1] - begins[id]);
    }
  };

  // What a model and the file have in common, and the lower bound of their distance.
  struct Measure {
    double dot = 0;  // sum of factor^2 x weight x weight over the common words
    std::uint32_t commonWords = 0;
    std::uint32_t commonShapes = 0;
    double minDistance = 0;
  };

  void refresh();
  void buildPostings();
  static float factorOf(std::size_t documentFrequency, std::size_t modelCount);
  void measureCommonParts(const Fingerprint& file);
  double fileNorm(const Fingerprint& file) const;
  float shapeDistance(const Model& model, const Measure& measure, const Fingerprint& file) const;
  float wordDistance(const Model& model, const Fingerprint& file) const;
  float exactDistance(const Model& model, const Measure& measure, const Fingerprint& file) const;
  std::vector<WeighedWord> heaviestWords(const Model& model, const Fingerprint& file) const;

  Vocabulary sourcetypes_;
  Vocabulary words_;
  Vocabulary shapes_;
  std::vector<std::size_t> modelsOfSourcetype_;  // how many, by number of the sourcetype
  std::vector<Model> models_;
  std::vector<Term> terms_;
  std::vector<std::uint32_t> modelShapes_;
  std::vector<std::uint32_t> lastModelOfShape_;
  std::vector<std::uint32_t> frequencies_;  // number of models that have a word, by word

  // Computed for refreshedSize_ models. Each further model changes the factor of every word.
  std::size_t refreshedSize_ = 0;
  Postings<Posting> wordPostings_;
  Postings<std::uint32_t> shapePostings_;
  std::vector<float> factors_;  // by word
  std::vector<double> norms_;   // sum of (factor x weight)^2 over the words of a model, by model
  std::vector<Measure> measures_;
};

}  // namespace sourcetype
