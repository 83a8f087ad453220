// The matcher is compared with the distance as it is defined in fuzz/models_fuzz.cpp; here are
// distances that were worked out on paper.
#include "classifier/models/model_index.h"

#include <gtest/gtest.h>

namespace sourcetype {
namespace {

Fingerprint fileOf(const char* word) {
  return {.words = {{word, 1.0F}}, .shapes = {{":", 1}}};
}

void add(ModelIndex& index, const char* sourcetype, const char* word, float weight = 1.0F,
         float maxDistance = kNoMaxDistance) {
  index.add({.sourcetype = sourcetype,
             .maxDistance = maxDistance,
             .words = {{word, weight}},
             .shapes = {":"}});
}

TEST(ModelIndex, TakesTheFirstOfEqualModelsAlsoOfLaterOnes) {
  ModelIndex index;
  EXPECT_FALSE(index.findClosestModel(fileOf("error")));
  add(index, "0", "other");
  EXPECT_FALSE(index.findClosestModel(fileOf("error")));
  add(index, "1", "error");
  add(index, "2", "error");
  const auto found = index.findClosestModel(fileOf("error"));
  ASSERT_TRUE(found);
  EXPECT_EQ(found->sourcetype, "1");
  EXPECT_EQ(found->distance, 0.0F);
  EXPECT_EQ(index.countModels("2"), 1U);
  EXPECT_EQ(index.countModels("3"), 0U);
}

// Two models, so that a word of one of them has the factor ln 3 and an unknown one too:
// (ln 3)^2 x (1^2 + 1^2) / 2 x 100000 = 120694.9, and with the weight 2 301737.2.
TEST(ModelIndex, FindsNoModelThatIsFartherThanItsLimit) {
  for (const float limit : {120000.0F, 121000.0F}) {
    ModelIndex index;
    add(index, "farther", "error", 2.0F, 1e7F);
    add(index, "limited", "other", 1.0F, limit);
    const auto found = index.findClosestModel(fileOf("word"));
    ASSERT_TRUE(found);
    const bool isReached = limit > 120694.9F;
    EXPECT_EQ(found->sourcetype, isReached ? "limited" : "farther");
    EXPECT_NEAR(found->distance, isReached ? 120694.9F : 301737.2F, 0.5F);
  }
  ModelIndex index;
  add(index, "far", "error");
  EXPECT_FALSE(index.findClosestModel(fileOf("word")));
}

// The factor of "error", which one of two models has, is ln 2; that of a new word is ln 3.
TEST(ModelIndex, LimitsANewModelByItsWords) {
  ModelIndex index;
  add(index, "1", "error");
  const auto limitOf = [&](std::vector<ModelView::Word> words) {
    return index.limitFor({.sourcetype = "t", .words = std::move(words), .shapes = {}});
  };
  EXPECT_EQ(limitOf({}), 1.0F);
  EXPECT_NEAR(limitOf({{"error", 1.0F}}), 942.06F, 0.05F);  // (ln 2)^2 / 51 x 100000
  EXPECT_NEAR(limitOf({{"word", 1.0F}}), 2366.57F, 0.05F);
  // Any sixty words: half of the distance to an empty file.
  EXPECT_NEAR(limitOf(std::vector<ModelView::Word>(60, {"word", 1.0F})), 60347.5F, 1.0F);
}

}  // namespace
}  // namespace sourcetype
