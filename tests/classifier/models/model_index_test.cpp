// Compares the fast matcher with the distance as it is defined, on random models.
#include "classifier/models/model_index.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <random>

#include "support/plain_distance.h"

namespace sourcetype {
namespace {

using sourcetype::testing::plainDistance;
using sourcetype::testing::PlainModel;

ModelIndex indexOf(const std::vector<PlainModel>& models) {
  ModelIndex index;
  for (std::size_t number = 0; number < models.size(); ++number) {
    const auto& [words, shapes, maxDistance] = models[number];
    const std::string sourcetype = std::to_string(number);
    ModelView view{.sourcetype = sourcetype,
                   .maxDistance = maxDistance,
                   .words = {},
                   .shapes = {shapes.begin(), shapes.end()}};
    for (const auto& [word, weight] : words) view.words.push_back({word, weight});
    index.add(view);
  }
  return index;
}

Fingerprint fingerprintOf(const PlainModel& file) {
  Fingerprint result;
  for (const auto& [word, weight] : file.words) result.words.push_back({word, weight});
  for (const auto& shape : file.shapes) result.shapes.emplace(shape, 1);
  return result;
}

void expectClosest(ModelIndex& index, const std::vector<PlainModel>& models,
                   const PlainModel& file) {
  std::string closest = "(none)";
  float best = 100000000.0F;
  for (std::size_t number = 0; number < models.size(); ++number) {
    const float distance = plainDistance(models[number], file, models);
    if (distance >= best) continue;
    best = distance;
    closest = std::to_string(number);
  }
  const auto found = index.findClosestModel(fingerprintOf(file));
  ASSERT_EQ(found ? found->sourcetype : "(none)", closest);
  EXPECT_NEAR(found ? found->distance : best, best, 1e-5F * std::max(1.0F, best));
}

class RandomModels {
 public:
  explicit RandomModels(unsigned seed) : random_(seed) {}

  std::size_t below(std::size_t end) {
    return std::uniform_int_distribution<std::size_t>(0, end - 1)(random_);
  }

  // A few words are in nearly every text, the others in few.
  PlainModel text() {
    PlainModel text;
    const auto words = below(13);
    for (std::size_t i = 0; i < words; ++i) {
      text.words["w" + std::to_string(below(1 + below(1 + below(80))))] +=
          static_cast<float>(1 + below(50)) / 300.0F;
    }
    const auto shapes = below(7);
    for (std::size_t i = 0; i < shapes; ++i) text.shapes.insert(std::to_string(below(12)));
    return text;
  }

  // A model with a limit and, like one written by hand, perhaps with odd weights.
  PlainModel model(const std::vector<PlainModel>& earlier) {
    if (!earlier.empty() && below(8) == 0) return earlier[below(earlier.size())];
    PlainModel model = text();
    constexpr std::array kLimits{kNoMaxDistance, kNoMaxDistance, 300.0F, 20.0F, 0.001F, 3e38F};
    model.maxDistance = kLimits[below(kLimits.size())];
    constexpr std::array kOddWeights{3e38F, -3e38F, 1e18F, -0.25F, 1e-30F, 0.0F};
    if (below(6) == 0) model.words["w1"] = kOddWeights[below(kOddWeights.size())];
    return model;
  }

 private:
  std::mt19937 random_;
};

TEST(ModelIndex, FindsTheModelThatTheFormulaFinds) {
  for (unsigned seed = 0; seed < 400; ++seed) {
    SCOPED_TRACE(seed);
    RandomModels random(seed);
    std::vector<PlainModel> models;
    const auto count = random.below(40);
    while (models.size() < count) models.push_back(random.model(models));
    auto index = indexOf(models);
    for (int i = 0; i < 4; ++i) expectClosest(index, models, random.text());
    if (!models.empty()) expectClosest(index, models, models[random.below(models.size())]);
  }
}

TEST(ModelIndex, CountsAModelAddedAfterASearch) {
  RandomModels random(1);
  std::vector<PlainModel> models{random.text(), random.text()};
  auto index = indexOf(models);
  const auto file = random.text();
  expectClosest(index, models, file);
  models.emplace_back();
  index.add({.sourcetype = "2", .words = {}, .shapes = {}});
  expectClosest(index, models, file);
  EXPECT_EQ(index.countModels("2"), 1U);
  EXPECT_EQ(index.countModels("3"), 0U);
}

TEST(ModelIndex, TakesTheFirstOfEqualModels) {
  const PlainModel model{.words = {{"error", 1.0F}}, .shapes = {":"}};
  auto index = indexOf({{.words = {{"other", 1.0F}}, .shapes = {}}, model, model});
  const auto found = index.findClosestModel(fingerprintOf(model));
  ASSERT_TRUE(found);
  EXPECT_EQ(found->sourcetype, "1");
  EXPECT_EQ(found->distance, 0.0F);
}

// Worked out on paper: two models, so that a word of one of them has the factor ln 3 and an unknown
// one too; (ln 3)^2 x (1^2 + 1^2) / 2 x 100000 = 120694.9.
TEST(ModelIndex, FindsNothingWhereEveryModelIsFarAway) {
  const PlainModel far{.words = {{"error", 1.0F}}, .shapes = {":"}};
  const PlainModel farther{.words = {{"other", 1.0F}}, .shapes = {":"}, .maxDistance = 120000.0F};
  const PlainModel file{.words = {{"word", 1.0F}}, .shapes = {":"}};
  auto index = indexOf({far, farther});
  EXPECT_FALSE(index.findClosestModel(fingerprintOf(file)));
  EXPECT_FALSE(ModelIndex().findClosestModel(fingerprintOf(file)));

  auto reached = farther;
  reached.maxDistance = 121000.0F;
  index = indexOf({far, reached});
  const auto found = index.findClosestModel(fingerprintOf(file));
  ASSERT_TRUE(found);
  EXPECT_NEAR(found->distance, 120694.9F, 0.5F);
}

}  // namespace
}  // namespace sourcetype
