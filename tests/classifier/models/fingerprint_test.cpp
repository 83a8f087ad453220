#include "classifier/models/fingerprint.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::Pair;

constexpr std::size_t kEnd = std::numeric_limits<std::size_t>::max();

Fingerprint fingerprint(const std::string& text, const ClassifierSettings::Keywords& ignored = {},
                        std::size_t first = 0, std::size_t last = kEnd) {
  return buildModel(readSampleText(text, {}, "text"), first, last, ignored);
}

std::string words(const Fingerprint& model) {
  std::string result;
  for (const auto& [text, weight] : model.words) result += formatText("%s %.4f|", text, weight);
  return result;
}

TEST(Words, HaveTheirShareOfTheText) {
  sourcetype::testing::forEachRow(
      "classifier/models/words.txt", 3, [](const sourcetype::testing::Row& row) {
        EXPECT_EQ(words(fingerprint(row[1], {"ignored", "Upper"})), row[2]);
      });
}

TEST(Words, KeepTheirCountsAmongThousandsOfRareOnes) {
  std::string text = repeated("heavy ", 2000);
  for (int i = 0; i < 26 * 26 * 5; ++i) {
    text += {static_cast<char>('a' + i % 26), static_cast<char>('a' + i / 26 % 26),
             static_cast<char>('a' + i / 676), ' '};
  }
  text += repeated("Zulu\n", 2000) + repeated("heavy\n", 620);
  EXPECT_EQ(words(fingerprint(text)), "heavy 0.3275|zulu 0.2500|");  // of 8000
}

TEST(LineShapes, AreThePunctuationInTheOrderOfTheLine) {
  EXPECT_THAT(fingerprint("ab c=[1]\nx y=[\"2\"]\n12:00, ok\nword\n\tword_\n").shapes,
              ElementsAre(Pair("", 2), Pair(":,_", 1), Pair("_=[]", 2)));
  EXPECT_THAT(fingerprint(" ,;-#$%&+./:=?@'|*(){}<>[]^!\n").shapes,
              ElementsAre(Pair("_,;-#$%&+.", 1)));
  EXPECT_THAT(fingerprint("a/b:c=d?e@f'g|h*i(j)k\nl{m}n<o>p[q]r^s!t\\u\"v~w\n").shapes,
              ElementsAre(Pair("/:=?@'|*()", 1), Pair("{}<>[]^!", 1)));
}

TEST(Fingerprint, IsOfTheLinesOfTheRangeThatTheSampleHas) {
  const std::string text = "zero,\none;\ntwo:\n";
  EXPECT_EQ(words(fingerprint(text, {}, 0, 1)), "one 0.5000|zero 0.5000|");
  EXPECT_EQ(words(fingerprint(text, {}, 2, 9)), "two 1.0000|");
  EXPECT_THAT(fingerprint(text, {}, 1, 1).shapes, ElementsAre(Pair(";", 1)));
  const auto none = fingerprint(text, {}, 3, 9);
  EXPECT_THAT(none.words, IsEmpty());
  EXPECT_THAT(none.shapes, IsEmpty());
}

}  // namespace
}  // namespace sourcetype
