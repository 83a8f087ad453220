#include "conf/properties_map.h"

#include <gtest/gtest.h>

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

struct IntCase {
  const char* value;
  std::int64_t asInt;
  std::uint64_t asUnsigned;
};
TEST(PropertiesMap, ReturnsTheFallbackForTextThatIsNotANumber) {
  for (const auto& [value, asInt, asUnsigned] : {
           IntCase{"100", 100, 100},
           {" 7\t", 7, 7},
           {"+7", 7, 7},
           {"-7", -7, 99},
           {"010", 10, 10},
           {"9223372036854775807", INT64_MAX, INT64_MAX},
           {"9223372036854775808", 99, 9223372036854775808U},
           {"18446744073709551616", 99, 99},
           {"-9223372036854775808", INT64_MIN, 99},
           {"", 99, 99},
           {" ", 99, 99},
           {"7x", 99, 99},
           {"7 8", 99, 99},
           {"0x10", 99, 99},
           {"1.5", 99, 99},
           {"+-7", 99, 99},
           {"+", 99, 99},
       }) {
    const PropertiesMap map{{"k", value}};
    EXPECT_EQ(map.getInt("k", 99), asInt) << value;
    EXPECT_EQ(map.getUnsigned("k", 99), asUnsigned) << value;
  }
}

TEST(PropertiesMap, KnowsTheWordsOfABoolean) {
  for (const char* value : {"t", "T", "true", "TRUE", "True", "yes", "YeS", "1"}) {
    EXPECT_TRUE((PropertiesMap{{"k", value}}).getBool("k", false)) << value;
    EXPECT_EQ((PropertiesMap{{"k", value}}).tryGetBool("k"), true) << value;
  }
  for (const char* value : {"f", "F", "false", "FALSE", "no", "NO", "0"}) {
    EXPECT_FALSE((PropertiesMap{{"k", value}}).getBool("k", true)) << value;
    EXPECT_EQ((PropertiesMap{{"k", value}}).tryGetBool("k"), false) << value;
  }
  for (const char* value : {"", "y", "n", "01", "on", " true", "truee"}) {
    EXPECT_TRUE((PropertiesMap{{"k", value}}).getBool("k", true)) << value;
    EXPECT_EQ((PropertiesMap{{"k", value}}).tryGetBool("k"), std::nullopt) << value;
  }
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
