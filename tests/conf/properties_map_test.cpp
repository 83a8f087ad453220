#include "conf/properties_map.h"

#include <gtest/gtest.h>

#include "support/table.h"

namespace sourcetype {
namespace {

TEST(PropertiesMap, ReadsAMissingKeyAndAnEmptyValueAlike) {
  const PropertiesMap map{{"empty", ""}, {"a", "1"}};
  EXPECT_EQ(map.get("missing"), map.get("empty"));
  EXPECT_FALSE(map.tryGet("empty"));
  EXPECT_EQ(map.tryGet("a"), "1");
  EXPECT_FALSE(map.tryGet("A"));
  EXPECT_TRUE(map.contains("empty"));
}

TEST(PropertiesMap, PrintsItsEntriesInByteOrder) {
  EXPECT_EQ((PropertiesMap{{"b", "2"}, {"a", "1"}, {"B", "x\ny"}}).toString(),
            "PropertiesMap: {\n\tB -> x\ny\n\ta -> 1\n\tb -> 2\n}\n");
  EXPECT_EQ(PropertiesMap().toString(), "PropertiesMap: {\n}\n");
}

TEST(PropertiesMap, GivesTheFallbackForWhatIsNoNumberOfTheType) {
  testing::forEachRow("conf/numbers.txt", 3, [](const testing::Row& row) {
    const PropertiesMap map{{"k", row[0]}};
    EXPECT_EQ(std::to_string(map.getInt("k", 99)), row[1]);
    EXPECT_EQ(std::to_string(map.getUnsigned("k", 99)), row[2]);
  });
}

TEST(PropertiesMap, KnowsTheWordsOfABoolean) {
  testing::forEachRow("conf/booleans.txt", 2, [](const testing::Row& row) {
    const PropertiesMap map{{"k", row[0]}};
    const bool isKnown = row[1] != "neither";
    EXPECT_EQ(map.getBool("k", false), row[1] == "true");
    EXPECT_EQ(map.getBool("k", true), row[1] != "false");
    EXPECT_EQ(map.tryGetBool("k"), isKnown ? std::optional(row[1] == "true") : std::nullopt);
  });
}

TEST(PropertiesMap, KeepsTheStanzaOfASetting) {
  PropertiesMap map{{"mine", ""}};
  map.insertIfAbsent("mine", "theirs", "s");
  map.insertIfAbsent("new", "1", "s");
  map.insertIfAbsent("new", "2", "default");
  EXPECT_EQ(map, (PropertiesMap{{"mine", ""}, {"new", "1"}}));
  EXPECT_EQ(map.entries().at("new").stanza, "s");
  map.set("new", "3");
  EXPECT_EQ(map.entries().at("new").stanza, "");
  EXPECT_EQ(map.get("new"), "3");
}

TEST(PropertiesMap, RemovesByKeyAndByValue) {
  PropertiesMap map{{"a", "x"}, {"b", "y"}, {"c", "x"}, {"d", ""}};
  map.removeByValue("x");
  map.remove("d");
  map.remove("missing");
  EXPECT_EQ(map, (PropertiesMap{{"b", "y"}}));
}

TEST(PropertiesMap, DiffHasTheSettingsToWrite) {
  const PropertiesMap desired{
      {"same", "1"}, {"changed", "new"}, {"emptied", ""}, {"added", "2"}, {"addedEmpty", ""}};
  const PropertiesMap existing{{"same", "1"}, {"changed", "old"}, {"emptied", "x"}, {"other", "y"}};
  EXPECT_EQ(PropertiesMap::diff(desired, existing),
            (PropertiesMap{{"changed", "new"}, {"emptied", ""}, {"added", "2"}}));
}

}  // namespace
}  // namespace sourcetype
