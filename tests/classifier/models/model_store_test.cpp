#include "classifier/models/model_store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "classifier/models/distance_limits.h"
#include "classifier/models/model.h"
#include "classifier/models/model_retraining.h"
#include "conf/stanza_kinds.h"
#include "support/samples.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using sourcetype::testing::sampleOf;
using sourcetype::testing::TempTree;
using ::testing::AllOf;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;
using ::testing::internal::CaptureStderr;
using ::testing::internal::GetCapturedStderr;

constexpr const char* kLearned = "apps/learned/local/sourcetypes.conf";
constexpr const char* kOld = "apps/learned/local/sourcetypes.conf.old";

// Texts that have no common words and no common shapes.
constexpr const char* kApples = "apple (red);\n";
constexpr const char* kPears = "pear; #[green]=\\ [\n";
constexpr const char* kPlums = "plum/blue?\n";

// One run of the program on a configuration tree.
struct ProgramRun {
  explicit ProgramRun(const TempTree& tree) : store(tree.root()) {}

  std::string match(const std::string& text) {
    return models.matchModels("text", sampleOf(text)).value_or("(none)");
  }
  bool train(const std::string& text, std::string_view sourcetype,
             std::string_view file = "the file.log") {
    return models.trainModels(file, sampleOf(text), sourcetype);
  }

  ConfStore store;
  ClassifierSettings settings{store};
  ModelStore models{store, settings};
};

// Returns the stored models in the order in which they load.
ModelIndex storedModels(const TempTree& tree) {
  ConfStore store(tree.root());
  ModelIndex index;
  store.visitStanzas(store.getConf("sourcetypes"), [&](std::string_view stanza, auto settings) {
    TextKeeper unescaped;
    if (const auto model = loadModel(stanza, settings, {}, unescaped)) index.add(*model);
  });
  return index;
}

TEST(LearnedModel, IsFoundByALaterRun) {
  const TempTree tree;
  ProgramRun first(tree);
  EXPECT_EQ(first.match(repeated(kApples, 100)), "(none)");
  EXPECT_TRUE(first.train(repeated(kApples, 100), "fruit"));
  EXPECT_TRUE(first.train(repeated(kPears, 100), "other"));
  EXPECT_EQ(first.match(repeated(kApples, 100)), "fruit");
  EXPECT_THAT(tree.read(kLearned), HasSubstr("\n_source = the file.log\n_sourcetype = other\n"));
  EXPECT_THAT(tree.read(kLearned), HasSubstr("[the_file.log_2"));
  ProgramRun second(tree);
  EXPECT_EQ(second.match(repeated(kPears, 100)), "other");
  EXPECT_EQ(second.match(repeated(kApples, 100)), "fruit");
  EXPECT_EQ(second.match(repeated(kPlums, 100)), "(none)");
}

TEST(Training, NeedsAHundredLines) {
  const TempTree tree;
  ProgramRun run(tree);
  CaptureStderr();
  EXPECT_FALSE(run.train(repeated(kApples, 99), "fruit"));
  EXPECT_EQ(run.match(repeated(kApples, 99)), "(none)");
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("99"));
  EXPECT_TRUE(run.train(repeated(kApples, 100), "fruit"));
  EXPECT_EQ(run.models.countModels("fruit"), 1U);
}

TEST(Training, TakesWholeSegmentsAndTheFirstHundredLinesOfTheLast) {
  const TempTree tree;
  ProgramRun run(tree);
  const auto text = repeated(kApples, 1000) + repeated(kPears, 100) + repeated(kPlums, 400);
  EXPECT_TRUE(run.train(text, "fruit"));
  EXPECT_EQ(run.models.countModels("fruit"), 2U);
  EXPECT_EQ(run.match(repeated(kPears, 100)), "fruit");
  EXPECT_EQ(run.match(repeated(kPlums, 100)), "(none)");
  EXPECT_EQ(run.match(repeated(kPlums, 1000) + repeated(kPears, 100)), "fruit");
  EXPECT_EQ(run.match(repeated(kPlums, 1000) + repeated(kPears, 99)), "(none)");
  EXPECT_EQ(run.match(repeated(kPlums, 5000) + repeated(kPears, 1000)), "(none)");
}

TEST(Training, TwiceAddsNothing) {
  const TempTree tree;
  EXPECT_TRUE(ProgramRun(tree).train(repeated(kApples, 100), "fruit"));
  const auto stored = tree.read(kLearned);
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated(kApples, 100), "fruit"));
  EXPECT_EQ(run.models.addedModels(), 0U);
  EXPECT_EQ(tree.read(kLearned), stored);
  EXPECT_TRUE(run.train(repeated(kApples, 100), "same as fruit"));
  EXPECT_EQ(run.models.addedModels(), 1U);
}

TEST(Training, AddsNothingAt650) {
  const TempTree tree;
  tree.write(kLearned, "[m]\n_sourcetype=t\napple=.5\nred=0.2985386\ngrape=0\n~_();=1\n");
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated(kApples, 100), "t"));
  EXPECT_EQ(run.models.addedModels(), 0U);
}

TEST(Training, TakesTwentySegmentsAndMatchingFive) {
  const TempTree tree;
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated(kApples, 19000) + repeated(kPears, 1000) + repeated(kPlums, 1000),
                        "fruit"));
  EXPECT_EQ(run.models.countModels("fruit"), 2U);
  EXPECT_EQ(run.match(repeated(kPlums, 4000) + repeated(kPears, 1000)), "fruit");
}

TEST(Matching, GoesOnWhereNoSegmentIsTheFilesOwn) {
  const TempTree tree;
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated(kApples, 1000), "apples"));
  EXPECT_TRUE(run.train(repeated(kPears, 1000), "pears"));
  const auto nearlyApples = repeated(kApples, 992) + repeated("apple (apple);\n", 8);
  EXPECT_EQ(run.match(nearlyApples), "apples");  // at a distance of 2
  EXPECT_EQ(run.match(nearlyApples + repeated(kPears, 1000)), "pears");
}

TEST(Training, LeavesIgnoredWordsOut) {
  const TempTree tree;
  tree.write("system/local/source-classifier.conf", "[s]\nIgnored_Model_Keywords = red, apple\n");
  EXPECT_TRUE(ProgramRun(tree).train(repeated("apple red ripe\n", 100), "fruit"));
  EXPECT_THAT(tree.read(kLearned),
              HasSubstr("_sourcetype = fruit\nmaxDist = 942.1\nripe = 1.000000\n~__ = 100\n"));
}

TEST(Training, OfAFileOfAnyNameIsKept) {
  for (const char* name : {"a]=[b", "two\nlines", "\xFF", "[default]", "end\\", "#c", " padded "}) {
    const TempTree tree;
    EXPECT_TRUE(ProgramRun(tree).train(repeated(kApples, 100), "fruit", name));
    EXPECT_EQ(ProgramRun(tree).match(repeated(kApples, 100)), "fruit") << name;
  }
}

// With the word "grape" the word part of the distance is about 160, without "red" thousands.
TEST(StoredStanza, Recognises) {
  sourcetype::testing::forEachRow(
      "classifier/models/stored_stanzas.txt", 4, [](const sourcetype::testing::Row& row) {
        const TempTree tree;
        tree.write("system/local/sourcetypes.conf", row[2]);
        tree.write(kLearned, "[bad]\nred=1\n[m]\napple=.5\n~_();=1\n" + row[1]);
        CaptureStderr();
        EXPECT_EQ(ProgramRun(tree).match(repeated(kApples, 100)), row[3]);
        EXPECT_THAT(GetCapturedStderr(), HasSubstr("Ignoring sourcetypes.conf stanza that does not "
                                                   "have a '_sourcetype' value."));
      });
}

TEST(StoredShape, WrittenInTwoWaysCountsOnce) {
  const TempTree tree;
  tree.write(kLearned, "[m]\n_sourcetype=t\n~EQ=1\n~\\==1\n");
  const auto closest = storedModels(tree).findClosestModel(buildModel(sampleOf("=\n"), 0, 0, {}));
  ASSERT_TRUE(closest);
  EXPECT_EQ(closest->distance, 0.0F);
}

TEST(NewModel, HasTheLimitThatItWillInherit) {
  const TempTree tree;
  tree.write("system/local/sourcetypes.conf", "[default]\nmaxDist=100\n");
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated("apple red\n", 100), "fruit"));
  const auto similar = repeated("apple red\n", 80) + repeated("grape\n", 20);
  EXPECT_EQ(ProgramRun(tree).match(similar), "(none)");
  EXPECT_EQ(run.match(similar), "(none)");
}

TEST(Retraining, KeepsOldModelsInTheirFileUntilItFinishes) {
  const TempTree tree;
  ProgramRun run(tree);
  EXPECT_TRUE(run.train(repeated(kApples, 100), "fruit"));
  const auto before = tree.read(kLearned);
  ModelRetraining retraining(run.store, run.models);
  EXPECT_EQ(run.models.countModels("fruit"), 0U);
  EXPECT_EQ(run.match(repeated(kApples, 100)), "(none)");
  retraining.learn("the file.log", sampleOf(repeated(kPears, 100)), "pears");
  EXPECT_TRUE(ProgramRun(tree).train(repeated(kPlums, 100), "plums"));
  EXPECT_EQ(ProgramRun(tree).match(repeated(kApples, 100)), "fruit");
  CaptureStderr();
  retraining.finish();
  EXPECT_THAT(GetCapturedStderr(), HasSubstr("sourcetypes.conf.old: 1."));
  EXPECT_EQ(tree.read(kLearned).find("[the_file.log_2"), 0U);
  // The copy has the models that other processes learned in between, but not those of this one.
  EXPECT_THAT(tree.read(kOld), AllOf(StartsWith(before), HasSubstr("= plums\n")));
  EXPECT_THAT(tree.read(kOld), Not(HasSubstr("= pears\n")));
  EXPECT_EQ(ProgramRun(tree).match(repeated(kApples, 100)), "(none)");
  EXPECT_EQ(ProgramRun(tree).match(repeated(kPears, 100)), "pears");
  EXPECT_EQ(ProgramRun(tree).match(repeated(kPlums, 100)), "plums");
}

TEST(Retraining, KeepsTheDefaultStanza) {
  const TempTree tree;
  const std::string defaults = "# limits\n[default]\nmaxDist = 5\n";
  tree.write(kLearned, defaults + "[m]\n_sourcetype = t\nword = 1\n");
  ProgramRun run(tree);
  ModelRetraining(run.store, run.models).finish();
  EXPECT_EQ(tree.read(kLearned), defaults);
}

TEST(StoredStanza, IsReportedWithWhatInItIsNoNumber) {
  const TempTree tree;
  tree.write(kLearned, "[m]\n_sourcetype=t\na=x\nb=inf\nc=1\nmaxDist=-1\n");
  CaptureStderr();
  EXPECT_EQ(ProgramRun(tree).models.countModels("t"), 1U);
  EXPECT_THAT(GetCapturedStderr(),
              AllOf(HasSubstr("[m]: 2 weights"),
                    HasSubstr("[m]: maxDist '-1' is no number above 0, 9999 holds.")));
}

TEST(MaxDist, FollowsTheNumberOfSourcetypes) {
  struct Case {
    int sourcetypes;
    const char* before;
    const char* after;
  };
  for (const auto& [sourcetypes, before, after] :
       {Case{3000, "", ""}, Case{3001, "", "500"}, Case{10000, "[default]\nmaxDist=x\n", "500"},
        Case{90000, "[default]\nmaxDist=500\n", "700"},
        Case{3100, "[default]\nmaxDist=900\n", "500"}}) {
    const TempTree tree;
    std::string props = "[source::a]\n[rule::a]\n[delayedrule::a]\n[eventtype::a]\n";
    for (int i = 0; i < sourcetypes; ++i) props += "[t" + std::to_string(i) + "]\n";
    tree.write("system/default/props.conf", props + before);
    ConfStore store(tree.root());
    adjustMaxDist(store);
    PropertiesMap defaults;
    store.getExactStanza(store.getProps(), defaults, kDefaultStanza);
    EXPECT_EQ(defaults.get("maxDist"), after) << sourcetypes;
  }
}

}  // namespace
}  // namespace sourcetype
