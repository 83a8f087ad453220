#include "classifier/sample.h"

#include <gtest/gtest.h>

#include "classifier/binary_test.h"
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
  // The chunk ends at the end of the line, or between CR and LF.
  const std::string exact(kChunk - 1, 'a');
  EXPECT_EQ(linesOf(sampleOf(exact + "\nb")), (Lines{exact, "b"}));
  EXPECT_EQ(linesOf(sampleOf(exact + "\r\nb")), (Lines{exact, "b"}));
}

TEST(Sample, KeepsOfALongLineWhatTheLastChunkHolds) {
  // Of whole chunks without a line end, only the last before the line end is kept.
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

struct MarkCase {
  const char* name;
  const char* charset;  // the CHARSET; empty if there is none
  std::string_view bytes;
  const char* detected;
  const char* line;
};

class ByteOrderMarks : public ::testing::TestWithParam<MarkCase> {};

TEST_P(ByteOrderMarks, AreNoText) {
  const auto sample = readSampleText(GetParam().bytes, {{"CHARSET", GetParam().charset}}, "name");
  EXPECT_EQ(sample.detectedCharset(), GetParam().detected);
  EXPECT_EQ(linesOf(sample), Lines{GetParam().line});
}

INSTANTIATE_TEST_SUITE_P(
    Auto, ByteOrderMarks,
    ::testing::Values(MarkCase{"Utf8", "auto", "\uFEFFA", "UTF-8", "A"},
                      MarkCase{"Utf16Be", "auto", "\xFE\xFF\0A"sv, "UTF-16BE", "A"},
                      MarkCase{"Utf16Le", "auto", "\xFF\xFE\x41\0"sv, "UTF-16LE", "A"},
                      MarkCase{"Utf16LeNul", "auto", "\xFF\xFE\0\1"sv, "UTF-16LE", "\xC4\x80"},
                      MarkCase{"Utf32Le", "auto", "\xFF\xFE\0\0A\0\0\0"sv, "UTF-32LE", "A"},
                      MarkCase{"Utf32Be", "auto", "\0\0\xFE\xFF\0\0\0A"sv, "UTF-32BE", "A"},
                      MarkCase{"UtfEbcdic", "auto", "\xDD\x73\x66\x73\xC1", "UTF-EBCDIC", "A"},
                      MarkCase{"Utf7", "auto", "+/v8-A", "UTF-7", "A"},
                      MarkCase{"Utf7InARun", "auto", "+/v8A5A-b", "UTF-7", "\u00E4b"},
                      MarkCase{"OneByte", "auto", "\xFF", "", "\\xFF"},
                      MarkCase{"None", "auto", "A", "", "A"}),
    [](const auto& test) { return test.param.name; });

INSTANTIATE_TEST_SUITE_P(
    Named, ByteOrderMarks,
    ::testing::Values(MarkCase{"NoCharset", "", "\uFEFFA", "", "A"},
                      MarkCase{"Utf8", "UTF-8", "\uFEFFA", "", "A"},
                      MarkCase{"OnlyTheFirst", "UTF-8", "\uFEFF\uFEFFA", "", "\uFEFFA"},
                      MarkCase{"Utf16", "UTF-16", "\xFF\xFE\x41\0"sv, "", "A"},
                      MarkCase{"Ucs2", "UCS-2", "\xFE\xFF\0A"sv, "", "A"},
                      MarkCase{"Utf16WithoutMark", "UTF-16", "\0A"sv, "", "A"},
                      MarkCase{"Utf16Le", "UTF-16LE", "\xFF\xFE\x41\0"sv, "", "A"},
                      MarkCase{"Ucs4", "UCS-4", "\xFF\xFE\0\0A\0\0\0"sv, "", "A"},
                      MarkCase{"Gb18030", "GB18030", "\x84\x31\x95\x33\x41", "", "A"},
                      MarkCase{"OfAnotherCharset", "latin1", "\xEF\xBB\xBF\x41", "", "ï»¿A"}),
    [](const auto& test) { return test.param.name; });

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
