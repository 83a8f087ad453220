#include "classifier/sample.h"

#include <gtest/gtest.h>

#include "classifier/binary_test.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using std::string_view_literals::operator""sv;
using sourcetype::testing::repeated;
using sourcetype::testing::TempTree;
using Lines = std::vector<std::string>;

constexpr std::size_t kChunk = 10000;

Lines linesOf(const Sample& sample) {
  Lines lines;
  for (std::size_t i = 0; i < sample.lineCount(); ++i) lines.emplace_back(sample.line(i));
  return lines;
}

Sample sampleOf(std::string_view content, const PropertiesMap& props = {},
                std::uint64_t maxLines = 20000) {
  const TempTree tree;
  auto sample = readSample(tree.write("f", content), props, maxLines);
  EXPECT_TRUE(sample);
  return sample ? *std::move(sample) : Sample();
}

TEST(Sample, EndsLinesAtLfAndCrAndDropsEmptyOnes) {
  const auto sample = sampleOf("one\r\n\r\n\ntwo\rthree\n  \nlast");
  EXPECT_EQ(linesOf(sample), (Lines{"one", "two", "three", "  ", "last"}));
  EXPECT_EQ(sample.bytesRead(), 25U);
}

TEST(Sample, OfAnEmptyFileHasNothingAndIsNoBinary) {
  const auto sample = sampleOf("");
  EXPECT_EQ(sample.lineCount(), 0U);
  EXPECT_FALSE(isBinary(sample.invalidCount(), sample.bytesRead()));
}

TEST(Sample, CompletesALineInTheNextChunk) {
  const std::string head(kChunk - 3, 'a');
  EXPECT_EQ(linesOf(sampleOf(head + "\nbcdef\ng")), (Lines{head, "bcdef", "g"}));
  // The chunk ends exactly with the line, or between CR and LF.
  const std::string exact(kChunk - 1, 'a');
  EXPECT_EQ(linesOf(sampleOf(exact + "\nb")), (Lines{exact, "b"}));
  EXPECT_EQ(linesOf(sampleOf(exact + "\r\nb")), (Lines{exact, "b"}));
}

TEST(Sample, KeepsOfALongLineWhatTheLastChunkHolds) {
  // Two whole chunks without an end are dropped but for the last of them before the end.
  const std::string text =
      "first\n" + std::string(kChunk - 6, 'x') + std::string(kChunk, 'y') + "end\nnext";
  EXPECT_EQ(linesOf(sampleOf(text)), (Lines{"first", std::string(kChunk, 'y') + "end", "next"}));
  EXPECT_EQ(linesOf(sampleOf(std::string(kChunk, 'x') + "tail")), Lines{"tail"});
}

TEST(Sample, KeepsACharacterThatTwoChunksShare) {
  const std::string head(kChunk - 1, 'a');
  const auto sample = sampleOf(head + "\xC3\xA9\nb\n");
  EXPECT_EQ(linesOf(sample), (Lines{head + "\xC3\xA9", "b"}));
  EXPECT_EQ(sample.invalidCount(), 0U);
}

TEST(Sample, EscapesWhatIsNoCharacterAlsoAtTheEnd) {
  const auto sample = sampleOf("a\xC0z\n\0\nb\xE2\x82"sv);
  EXPECT_EQ(linesOf(sample), (Lines{"a\\xC0z", "\\x00", "b\\xE2\\x82"}));
  EXPECT_EQ(sample.invalidCount(), 4U);
}

TEST(Sample, StopsAfterTheChunkThatReachesALimit) {
  const std::string text = repeated("line\n", 6000);  // three chunks of 2000 lines
  EXPECT_EQ(sampleOf(text, {}, 2000).lineCount(), 2000U);
  EXPECT_EQ(sampleOf(text, {}, 2001).lineCount(), 4000U);
  const std::string bytes = repeated(std::string(4999, 'x') + "\n", 8);
  EXPECT_EQ(sampleOf(bytes, {}, 20).bytesRead(), 3 * kChunk);  // more than 20,000
}

TEST(Sample, CutByALimitCountsNoHalfCharacter) {
  const auto sample = sampleOf("a\n" + std::string(kChunk - 3, 'b') + "\xE2\x82\xAC\n", {}, 1);
  EXPECT_EQ(linesOf(sample), (Lines{"a", std::string(kChunk - 3, 'b')}));
  EXPECT_EQ(sample.invalidCount(), 0U);
}

TEST(Sample, UsesTheBytesAsTheyAreUnderAnUnknownCharset) {
  ::testing::internal::CaptureStderr();
  const auto sample = sampleOf("a\xC0\nb\0c\nd"sv, {{"CHARSET", "no-such"}});
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("no-such"), std::string::npos);
  EXPECT_EQ(linesOf(sample), (Lines{"a\xC0", "b"}));
  EXPECT_EQ(sample.invalidCount(), 0U);
}

TEST(Sample, CarriesWhatStandsBeforeARawNulIntoTheNextChunk) {
  const std::string text = "a\nb" + std::string(kChunk - 3, '\0') + "c\nd";
  EXPECT_EQ(linesOf(sampleOf(text, {{"CHARSET", "no-such"}})), (Lines{"a", "bc", "d"}));
}

TEST(Sample, CannotBeTakenOfWhatIsNoFile) {
  const TempTree tree;
  EXPECT_FALSE(readSample(tree.path("none"), {}, 10));
  EXPECT_FALSE(readSample(tree.root(), {}, 10));
}

TEST(SampleText, IsConvertedAndSplitInOnePass) {
  const std::string text(3 * kChunk, 'x');
  const auto sample = readSampleText(text + "\n\xFF", {}, "name");
  EXPECT_EQ(linesOf(sample), (Lines{text, "\\xFF"}));
  EXPECT_EQ(sample.bytesRead(), text.size() + 2);
}

TEST(ByteOrderMarks, AreNoText) {
  sourcetype::testing::forEachRow(
      "classifier/marks.txt", 5, [](const sourcetype::testing::Row& row) {
        const auto sample = readSampleText(row[2], {{"CHARSET", row[1]}}, "name");
        EXPECT_EQ(sample.detectedCharset(), row[3]);
        EXPECT_EQ(linesOf(sample), Lines{row[4]});
      });
}

TEST(ChooseCharset, TakesTheConfiguredNameOverAMark) {
  EXPECT_EQ(chooseCharset({{"CHARSET", "Latin-1"}}, "\xFE\xFF", "f").charset, "Latin-1");
  EXPECT_EQ(chooseCharset({}, "\xFE\xFF", "f").charset, "UTF-8");
  EXPECT_EQ(linesOf(readSampleText("\xE9", {{"CHARSET", "Latin-1"}}, "f")), Lines{"\xC3\xA9"});
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
