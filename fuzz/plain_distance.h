// The distance between a model and a file by its definition, for comparison with the fast matcher.
#pragma once

#include <algorithm>
#include <cmath>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "classifier/models/model.h"

namespace sourcetype::testing {

// A model, or a file, as plain as can be.
struct PlainModel {
  std::map<std::string, float> words;
  std::set<std::string> shapes;
  float maxDistance = kNoMaxDistance;
};

inline float weightOf(const PlainModel& model, const std::string& word) {
  const auto found = model.words.find(word);
  return found == model.words.end() ? 0 : found->second;
}

// The distance by its definition. The factor of a word depends on how many of `all` have it.
// Returns 100000000 if the words alone are farther than the limit of the model.
inline float plainDistance(const PlainModel& model, const PlainModel& file,
                           const std::vector<PlainModel>& all) {
  std::set<std::string> either;
  for (const auto& [word, weight] : model.words) either.insert(word);
  for (const auto& [word, weight] : file.words) either.insert(word);
  float sum = 0;
  for (const auto& word : either) {
    const float a = weightOf(model, word);
    const float b = weightOf(file, word);
    if (a == b) continue;
    float frequency = 0;
    for (const auto& other : all) frequency += other.words.contains(word) ? 1.0F : 0.0F;
    frequency = std::max(frequency, 1.0F);
    const float factor = std::log(static_cast<float>(all.size()) / frequency + 1.0F);
    sum += (factor * (a - b)) * (factor * (a - b));
  }
  const float part = either.empty() ? 0 : sum / static_cast<float>(either.size()) * 100000.0F;
  if (part > model.maxDistance) return 100000000.0F;
  float common = 0;
  for (const auto& shape : model.shapes) common += file.shapes.contains(shape) ? 1.0F : 0.0F;
  const auto [fewer, more] = std::minmax(
      {static_cast<float>(model.shapes.size()), static_cast<float>(file.shapes.size())});
  const float similarity =
      common == 0 ? 0 : common / fewer * (2.0F / 3.0F) + common / more * (1.0F / 3.0F);
  return (1 - similarity) * 600.0F + part;
}

}  // namespace sourcetype::testing
