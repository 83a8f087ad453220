// All models of a run, indexed by what they hold, so that the closest one is found without
// measuring each.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "classifier/models/fingerprint.h"
#include "classifier/models/model.h"
#include "classifier/models/vocabulary.h"

namespace sourcetype {

// The distance between two texts that have nothing to do with each other.
inline constexpr float kInfiniteDistance = 100000000.0F;

class ModelIndex {
 public:
  struct Closest {
    std::string_view sourcetype;  // as long as the index
    float distance;
  };

  // Makes room for about so many words of models: moving millions of them is slow.
  void reserve(std::size_t words) { terms_.reserve(words); }

  // Puts a model at the end of the list; nothing of `model` is needed afterwards.
  void add(const ModelView& model);

  // The model at the smallest distance, the first in the list among equals. Nothing when every
  // model is infinitely far away.
  std::optional<Closest> findClosestModel(const Fingerprint& file);

  std::size_t size() const { return models_.size(); }
  std::size_t countModels(std::string_view sourcetype) const;

 private:
  struct Term {
    std::uint32_t word;
    float weight;
  };
  struct Model {
    std::uint32_t sourcetype;  // in sourcetypes_
    float maxDistance;
    std::uint32_t firstTerm;  // in terms_, in byte order of the words
    std::uint32_t termCount;
    std::uint32_t firstShape;  // in modelShapes_
    std::uint32_t shapeCount;
  };
  struct Posting {
    std::uint32_t model;
    float weight;
  };
  // For each word or shape the models that have it, all in one array.
  template <class Entry>
  struct Postings {
    std::vector<std::uint32_t> begins;  // of each word's entries; one more, for the end
    std::vector<Entry> entries;

    std::span<const Entry> of(std::uint32_t id) const {
      return std::span(entries).subspan(begins[id], begins[id + 1] - begins[id]);
    }
  };

  // What a model and the file have in common, and how far apart they are.
  struct Measure {
    double dot = 0;
    std::uint32_t commonWords = 0;
    std::uint32_t commonShapes = 0;
    double least = 0;  // no distance below this
  };

  void refresh();
  void buildPostings();
  float factorOf(std::size_t documentFrequency) const;
  void gather(const Fingerprint& file);
  double fileNorm(const Fingerprint& file) const;
  float shapeDistance(const Model& model, const Measure& measure, const Fingerprint& file) const;
  float exactDistance(const Model& model, const Measure& measure, const Fingerprint& file) const;

  Vocabulary sourcetypes_;
  Vocabulary words_;
  Vocabulary shapes_;
  std::vector<std::size_t> modelsOfSourcetype_;
  std::vector<Model> models_;
  std::vector<Term> terms_;
  std::vector<std::uint32_t> modelShapes_;
  std::vector<std::uint32_t> lastModelOfShape_;
  std::vector<std::uint32_t> frequencies_;  // by word: in how many models it is

  // Valid for refreshedSize_ models: every further one changes how much each word counts.
  std::size_t refreshedSize_ = 0;
  Postings<Posting> wordPostings_;
  Postings<std::uint32_t> shapePostings_;
  std::vector<float> factors_;  // by word
  std::vector<double> norms_;   // by model: the sum of its (factor x weight) squared
  std::vector<Measure> measures_;
};

}  // namespace sourcetype
