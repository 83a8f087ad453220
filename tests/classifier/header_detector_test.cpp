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

TEST(CountDelimiters, IgnoresQuotedText) {
  EXPECT_THAT(countDelimiters("a,b;\"c,,;\t\"\t,\"d\"\",\",", kDelimiters, '"'),
              ElementsAre(3, 1, 1));
  EXPECT_THAT(countDelimiters("\"open,", kDelimiters, '"'), ElementsAre(0, 0, 0));
}

TEST(Statistics, DescribeAList) {
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

// A configuration tree and the header detection in it.
class HeaderTree : public TempTree {
 public:
  // Returns the result for a file of this sourcetype. Reads the configuration again.
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
    detectHeader("dir/f.csv", readSampleText(text, {}, "text"), result, store, nullptr,
                 HeaderTest::Delimiters, limits);
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
    const HeaderTree tree;
    tree.detect(row[1], "t");
    EXPECT_EQ(tree.readIfThere("transforms.conf"), row[2]);
  });
}

TEST(Header, GoesByTheLimits) {
  const HeaderTree tree;
  const std::string text = "a,b\n1,2\n" + repeated("x\n", 30);
  tree.detect(text, "t", {.maxLines = 0});
  tree.detect(text, "t", {.maxLines = 32});
  tree.detect(text, "t", {.maxLines = 2, .threshold = 1.0});
  EXPECT_EQ(tree.readIfThere("transforms.conf"), "");
  tree.detect(text, "t", {.maxLines = 2, .threshold = 0.99});
  EXPECT_EQ(tree.readIfThere("transforms.conf"), kAb);
}

TEST(HeaderTransform, IsDecidedAgainWhenAnotherProcessWasFaster) {
  for (const char* text : {"a,b\n1,2\n", "c,d\n1,2\n"}) {
    const HeaderTree tree;
    tree.write("system/local/props.conf", "[t]\n");
    ConfStore early(tree.root());
    EXPECT_FALSE(early.stanzaExists(early.getTransforms(), "AutoHeader-1"));
    EXPECT_TRUE(early.stanzaExists(early.getProps(), "t"));
    const auto first = tree.detect("a,b\n1,2\n", "t");
    const auto second = HeaderTree::detectIn(early, text, "t");
    EXPECT_EQ(tree.detect("a,b\n1,2\n", "t"), first);
    EXPECT_EQ(tree.detect(text, "t"), second);
    EXPECT_EQ(second.get("sourcetype"), text[0] == 'a' ? "t" : "t-2");
  }
}

TEST(HeaderTransform, BringsFilesOfANumberedNameBackTogether) {
  const HeaderTree tree;
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "csv").get("sourcetype"), "csv");
  EXPECT_EQ(tree.detect("c,d\n1,2\n", "csv-2").get("sourcetype"), "csv-2");
  for (const char* sourcetype : {"csv", "csv-2"}) {
    EXPECT_EQ(tree.detect("a,b\n1,2\n", sourcetype).get("sourcetype"), "csv");
    EXPECT_EQ(tree.detect("c,d\n1,2\n", sourcetype).get("sourcetype"), "csv-2");
  }
  EXPECT_EQ(tree.detect("a,b\n1,2\n", "mine").get("sourcetype"), "mine");
}

}  // namespace
}  // namespace sourcetype
