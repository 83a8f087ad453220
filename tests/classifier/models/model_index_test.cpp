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

}  // namespace
}  // namespace sourcetype
