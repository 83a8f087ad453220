#include "classifier/sample.h"

#include <gtest/gtest.h>

#include "classifier/binary_test.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::forEachRow;
using sourcetype::testing::Row;
using sourcetype::testing::TempTree;

constexpr std::size_t kChunk = 10000;

std::string linesOf(const Sample& sample) {
  std::string lines;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) lines.append(sample.line(i)) += '\n';
  return lines;
}

TEST(Sample, KeepsTheLinesOfAFile) {
  const TempTree tree;
  forEachRow("classifier/samples.txt", 7, [&](const Row& row) {
    const auto sample = readSample(tree.write("f", row[1]), {{"CHARSET", row[2]}}, row.number(3));
    ASSERT_TRUE(sample);
    EXPECT_EQ(linesOf(*sample), row[4]);
    EXPECT_EQ(sample->bytesRead(), row.number(5));
    EXPECT_EQ(sample->invalidCount(), row.number(6));
  });
}

TEST(Sample, CannotBeTakenOfWhatIsNoFile) {
  const TempTree tree;
  EXPECT_FALSE(readSample(tree.path("none"), {}, 10));
  EXPECT_FALSE(readSample(tree.root(), {}, 10));
}

TEST(SampleText, IsConvertedAndSplitInOnePass) {
  const std::string text(3 * kChunk, 'x');
  const auto sample = readSampleText(text + "\n\xFF", {}, "name");
  EXPECT_EQ(linesOf(sample), text + "\n\\xFF\n");
  EXPECT_EQ(sample.bytesRead(), text.size() + 2);
}

TEST(ByteOrderMarks, AreNoText) {
  forEachRow("classifier/marks.txt", 5, [](const Row& row) {
    const auto sample = readSampleText(row[2], {{"CHARSET", row[1]}}, "name");
    EXPECT_EQ(sample.detectedCharset(), row[3]);
    EXPECT_EQ(linesOf(sample), row[4] + "\n");
  });
}

TEST(ChooseCharset, TakesTheConfiguredNameOverAMark) {
  EXPECT_EQ(chooseCharset({{"CHARSET", "Latin-1"}}, "\xFE\xFF", "f").charset, "Latin-1");
  EXPECT_EQ(chooseCharset({}, "\xFE\xFF", "f").charset, "UTF-8");
  EXPECT_EQ(linesOf(readSampleText("\xE9", {{"CHARSET", "Latin-1"}}, "f")), "\xC3\xA9\n");
}

struct BinaryCase {
  std::uint64_t invalid, bytes;
  bool binary;
};

TEST(IsBinary, GoesByTheShareOfInvalidCharactersTenPercentIncluded) {
  for (const auto& row : {BinaryCase{0, 0, false}, BinaryCase{9, 100, false},
                          BinaryCase{10, 100, true}, BinaryCase{99999, 1000000, false}}) {
    EXPECT_EQ(isBinary(row.invalid, row.bytes), row.binary) << row.invalid;
  }
}

}  // namespace
}  // namespace sourcetype
