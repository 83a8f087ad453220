#include "classifier/header_detector.h"

#include <gmock/gmock.h>

#include <cmath>

#include "classifier/header_fields.h"
#include "classifier/statistics.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::forEachRow;
using sourcetype::testing::repeated;
using sourcetype::testing::Row;
using sourcetype::testing::TempTree;
using ::testing::ElementsAre;

TEST(CountDelimiters, LeavesOutWhatIsQuoted) {
  EXPECT_THAT(countDelimiters("a,b;\"c,,;\t\"\t,\"d\"\",\",", kDelimiters, '"'),
              ElementsAre(3, 1, 1));
  EXPECT_THAT(countDelimiters("\"open,", kDelimiters, '"'), ElementsAre(0, 0, 0));
}

TEST(Statistics, SayWhatAListLooksLike) {
  const std::vector<double> samples{3, 1, 3, 1, 7};
  const auto statistics = computeStatistics(samples);
  EXPECT_TRUE(statistics.valid);
  EXPECT_EQ(statistics.n, 5U);
  EXPECT_DOUBLE_EQ(statistics.mean, 3);
  EXPECT_DOUBLE_EQ(statistics.sampleVariance, 6);
  EXPECT_DOUBLE_EQ(statistics.populationVariance, 4.8);
  EXPECT_EQ(statistics.minimum, 1);
  EXPECT_EQ(statistics.maximum, 7);
  EXPECT_EQ(statistics.mode, 1);  // the smaller of two
  EXPECT_EQ(statistics.countOf(3), 2U);
  EXPECT_EQ(computeStatistics(std::vector<double>{4}).sampleVariance, 0);
  EXPECT_FALSE(computeStatistics({}).valid);
  EXPECT_EQ(computeStatistics({}).mode, -9.99e99);
}

TEST(FieldNames, AreCleanAndUnique) {
  forEachRow("classifier/field_names.txt", 3, [](const Row& row) {
    std::string names;
    for (const auto& name : nameFields(splitFields(row[1], ','))) names += name + "\n";
    EXPECT_EQ(names, row[2] + "\n");
  });
}

// A configuration tree and what is detected in it.
class Tree : public TempTree {
 public:
  // The result for a file of this sourcetype, with everything read again.
  PropertiesMap detect(const std::string& text, const std::string& sourcetype,
                       HeaderLimits limits = {}) const {
    ConfStore store(root());
    return detectIn(store, text, sourcetype, limits);
  }
  static PropertiesMap detectIn(ConfStore& store, const std::string& text,
                                const std::string& sourcetype, HeaderLimits limits = {}) {
    PropertiesMap result{{"sourcetype", sourcetype}};
    store.getStanzaSettings(store.getProps(), result, std::span(&sourcetype, 1),
                            PatternMatching::No);
    detectHeader("dir/f.csv", readSampleText(text, {}, "text"), result, store, nullptr, limits);
    return result;
  }

  std::string readIfThere(std::string_view name) const {
    const auto file = "system/local/" + std::string(name);
    return std::filesystem::exists(path(file)) ? read(file) : "";
  }
};

constexpr const char* kAb = "[AutoHeader-1]\nDELIMS = \",\"\nFIELDS = \"a\", \"b\"\n";

TEST(Header, IsFoundInDelimitedLines) {
  forEachRow("classifier/headers.txt", 3, [](const Row& row) {
    const Tree tree;
    tree.detect(row[1], "t");
    EXPECT_EQ(tree.readIfThere("transforms.conf"), row[2]);
  });
}

TEST(Header, GoesByTheLimits) {
  const Tree tree;
  const std::string text = "a,b\n1,2\n" + repeated("x\n", 30);
  tree.detect(text, "t", {.maxLines = 0});
  tree.detect(text, "t", {.maxLines = 32});
  tree.detect(text, "t", {.maxLines = 2, .threshold = 1.0});
  EXPECT_EQ(tree.readIfThere("transforms.conf"), "");
  tree.detect(text, "t", {.maxLines = 2, .threshold = 0.99});
  EXPECT_EQ(tree.readIfThere("transforms.conf"), kAb);
}

TEST(HeaderTransform, IsLinkedToTheSourcetype) {
  const Tree tree;
  tree.write("system/default/props.conf", "[default]\nKV_MODE = auto\n");
  const auto result = tree.detect("a,b\n1,2\n", "t");
  EXPECT_EQ(result,
            (PropertiesMap{
                {"KV_MODE", "none"}, {"REPORT-AutoHeader", "AutoHeader-1"}, {"sourcetype", "t"}}));
  const auto props = tree.readIfThere("props.conf");
  EXPECT_EQ(props, "[t]\nKV_MODE = none\nREPORT-AutoHeader = AutoHeader-1\n");
  EXPECT_EQ(tree.detect("a,b\n5,6\n", "t"), result);
  EXPECT_EQ(tree.readIfThere("props.conf"), props);
}

TEST(HeaderTransform, OfOtherColumnsGetsASourcetypeOfItsOwnOnce) {
  const Tree tree;
  tree.write("system/local/props.conf",
             "[t]\nSHOULD_LINEMERGE = False\nREPORT-x = regex\nREPORT-y = mine\n");
  tree.write("system/local/transforms.conf", "[regex]\nREGEX = x\n[mine]\nFIELDS = a\n");
  const auto other = tree.detect("a,b\n1,2\n", "t");
  EXPECT_EQ(other, (PropertiesMap{{"KV_MODE", "none"},
                                  {"REPORT-AutoHeader", "AutoHeader-1"},
                                  {"REPORT-x", "regex"},
                                  {"SHOULD_LINEMERGE", "False"},
                                  {"is_valid", "True"},
                                  {"sourcetype", "t-2"}}));
  EXPECT_EQ(tree.detect("a,b\n3,4\n", "t"), other);
  EXPECT_EQ(tree.detect("c,d\n3,4\n", "t").get("sourcetype"), "t-3");
  EXPECT_EQ(tree.detect("a,b\n3,4\n", "t"), other);
  EXPECT_EQ(tree.detect("c,d\n3,4\n", "t").get("REPORT-AutoHeader"), "AutoHeader-2");
}

TEST(HeaderTransform, IsDecidedAgainWhenAnotherProcessWasFaster) {
  for (const char* text : {"a,b\n1,2\n", "c,d\n1,2\n"}) {
    const Tree tree;
    tree.write("system/local/props.conf", "[t]\n");
    ConfStore early(tree.root());
    EXPECT_FALSE(early.stanzaExists(early.getTransforms(), "AutoHeader-1"));
    EXPECT_TRUE(early.stanzaExists(early.getProps(), "t"));
    const auto first = tree.detect("a,b\n1,2\n", "t");
    const auto second = Tree::detectIn(early, text, "t");
    EXPECT_EQ(tree.detect("a,b\n1,2\n", "t"), first);
    EXPECT_EQ(tree.detect(text, "t"), second);
    EXPECT_EQ(second.get("sourcetype"), text[0] == 'a' ? "t" : "t-2");
  }
}

TEST(HeaderTransform, IsLinkedBesideTransformsWithoutColumns) {
  const Tree tree;
  tree.write("system/local/props.conf", "[t]\nREPORT-AutoHeader = gone, regex\nREPORT-x = regex\n");
  tree.write("system/local/transforms.conf", "[regex]\nREGEX = x\n");
  const auto result = tree.detect("a,b\n1,2\n", "t");
  EXPECT_EQ(result.get("sourcetype"), "t");
  EXPECT_EQ(result.get("REPORT-AutoHeader"), "regex, AutoHeader-1");
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "t"), result);
}

TEST(HeaderTransform, BringsFilesOfANumberedNameBackTogether) {
  const Tree tree;
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "csv").get("sourcetype"), "csv");
  EXPECT_EQ(tree.detect("c,d\n1,2\n", "csv-2").get("sourcetype"), "csv-2");
  for (const char* sourcetype : {"csv", "csv-2"}) {
    EXPECT_EQ(tree.detect("a,b\n1,2\n", sourcetype).get("sourcetype"), "csv");
    EXPECT_EQ(tree.detect("c,d\n1,2\n", sourcetype).get("sourcetype"), "csv-2");
  }
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "mine").get("sourcetype"), "mine");
}

TEST(HeaderTransform, ReusesAnIdenticalStanza) {
  const Tree tree;
  tree.write("system/default/transforms.conf",
             "[default]\nDELIMS = \",\"\nFIELDS = \"a\", \"b\"\n[a, b]\n[near]\nFIELDS = \"a\"\n"
             "[mine]\nKEEP = 1\nFIELDS = \"a\", \"b\"\nDELIMS = \",\"\n");
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "t").get("REPORT-AutoHeader"), "mine");
  EXPECT_EQ(tree.readIfThere("transforms.conf"), "");
  EXPECT_EQ(tree.detect("a,c\n1,2\n", "u").get("REPORT-AutoHeader"), "AutoHeader-1");
  EXPECT_EQ(tree.detect("a,c\n1,2\n", "u").get("REPORT-AutoHeader"), "AutoHeader-1");
}

TEST(HeaderTransform, NeverChangesWhatOtherFilesShare) {
  const Tree tree;
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "too_small").get("sourcetype"), "too_small-1");
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "too_small").get("sourcetype"), "too_small-1");
  for (const char* name : {"", "default", "rule::x"}) {
    EXPECT_EQ(tree.detect("c,d\n1,2\n", name).get("REPORT-AutoHeader"), "") << name;
  }
}

TEST(HeaderTransform, ThatCannotBeWrittenChangesNothing) {
  const Tree tree;
  tree.write("system/local/props.conf/directory", "");
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "t"), (PropertiesMap{{"sourcetype", "t"}}));
}

}  // namespace
}  // namespace sourcetype
