// A table of inputs for each family. Each row is also converted in two pieces, for all positions,
// and byte by byte.
#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "support/converted.h"
#include "support/temp_tree.h"

namespace sourcetype::testing {
namespace {

using namespace std::string_view_literals;

struct ConverterCase {
  std::string_view name, charset, bytes, text;
  std::uint64_t invalid;
};

void PrintTo(const ConverterCase& row, std::ostream* out) {
  *out << row.charset;
}

std::string caseName(const ::testing::TestParamInfo<ConverterCase>& test) {
  return std::string(test.param.name);
}

class Conversion : public ::testing::TestWithParam<ConverterCase> {};

TEST_P(Conversion, ReturnsTheSameTextForAnyPieces) {
  const auto& [name, charset, bytes, text, invalid] = GetParam();
  const Converted expected{std::string(text), invalid};
  EXPECT_EQ(convertAll(charset, bytes), expected);
  EXPECT_EQ(convertInPieces(charset, bytes, 0, 1), expected) << "byte by byte";
  for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
    EXPECT_EQ(convertInPieces(charset, bytes, cut, bytes.size()), expected) << "cut at " << cut;
  }
}

INSTANTIATE_TEST_SUITE_P(
    Utf8, Conversion,
    ::testing::Values(
        ConverterCase{"Empty", "utf-8", "", "", 0},
        ConverterCase{"AllLengths", "utf-8", "aé€\U0001F600z", "aé€\U0001F600z", 0},
        ConverterCase{"ByteOrderMarkStays", "utf-8", "\uFEFFa", "\uFEFFa", 0},
        ConverterCase{"Nul", "us-ascii", "a\0b"sv, "a\\x00b", 1},
        ConverterCase{"OverlongTwo", "utf-8", "\xC0\x80\xC1\xBF", R"(\xC0\x80\xC1\xBF)", 4},
        ConverterCase{"LowestAndHighest", "utf-8",
                      "\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF",
                      "\xC2\x80\xE0\xA0\x80\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", 0},
        ConverterCase{"OverlongThree", "utf-8", "\xE0\x9F\xBF", R"(\xE0\x9F\xBF)", 3},
        ConverterCase{"OverlongFour", "utf-8", "\xF0\x8F\xBF\xBF", R"(\xF0\x8F\xBF\xBF)", 4},
        ConverterCase{"PastUnicode", "utf-8", "\xF4\x90\x80\x80", R"(\xF4\x90\x80\x80)", 4},
        ConverterCase{"NoLeadFromF5", "utf-8", "\xF5\x80\xFF", R"(\xF5\x80\xFF)", 3},
        ConverterCase{"Surrogate", "utf-8", "\xED\xA0\x80\xED\xBF\xBF",
                      R"(\xED\xA0\x80\xED\xBF\xBF)", 6},
        ConverterCase{"AroundTheSurrogates", "utf-8", "\xED\x9F\xBF\xEE\x80\x80",
                      "\xED\x9F\xBF\xEE\x80\x80", 0},
        ConverterCase{"BrokenOff", "utf-8", "\xE2\x82(\xF0\x9F\x98\xC3\xA9",
                      R"(\xE2\x82(\xF0\x9F\x98é)", 5},
        ConverterCase{"CutOffAtTheEnd", "utf-8", "a\xF0\x9F\x98", R"(a\xF0\x9F\x98)", 3},
        ConverterCase{"StrayContinuation", "utf-8", "\x80\xBF", R"(\x80\xBF)", 2}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Utf16, Conversion,
    ::testing::Values(
        ConverterCase{"BigEndian", "UTF-16", "\0a\x20\xAC\xD8\x3D\xDE\0"sv, "a€\U0001F600", 0},
        ConverterCase{"LittleEndian", "UTF-16LE", "a\0\xAC\x20\x3D\xD8\0\xDE"sv, "a€\U0001F600", 0},
        ConverterCase{"MarkIsACharacter", "ucs-2", "\xFE\xFF\0a"sv, "\uFEFFa", 0},
        ConverterCase{"OrderByMark", "csUnicode", "\xFF\xFE\x61\0"sv, "\uFEFFa", 0},
        ConverterCase{"NamedOrderHolds", "utf-16be", "\xFF\xFE\0a"sv, "\uFFFEa", 0},
        ConverterCase{"HighAlone", "utf16", "\xD8\x3D\0a\xD8\x3D"sv, R"(\xD8\x3Da\xD8\x3D)", 2},
        ConverterCase{"HighBeforePair", "utf16", "\xD8\x3D\xD8\x3D\xDE\0"sv, "\\xD8\\x3D\U0001F600",
                      1},
        ConverterCase{"LowAlone", "utf16le", "\0\xDE"sv, R"(\x00\xDE)", 1},
        ConverterCase{"Nul", "utf16", "\0\0\0a"sv, R"(\x00a)", 1},
        ConverterCase{"OddByteAfterHigh", "utf16", "\xD8\x3D\xDE"sv, R"(\xD8\x3D\xDE)", 2},
        ConverterCase{"Internal", "ucs2-internal", "a\0"sv, "a", 0},
        ConverterCase{"Swapped", "ucs2-swapped", "\0a"sv, "a", 0}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Utf32, Conversion,
    ::testing::Values(
        ConverterCase{"BigEndian", "UCS-4", "\0\0\0a\0\x01\xF6\0"sv, "a\U0001F600", 0},
        ConverterCase{"LittleEndian", "UTF-32LE", "a\0\0\0\0\xF6\x01\0"sv, "a\U0001F600", 0},
        ConverterCase{"OrderByMark", "utf32", "\xFF\xFE\0\0a\0\0\0"sv, "\uFEFFa", 0},
        ConverterCase{"Surrogate", "utf32", "\0\0\xD8\0"sv, R"(\x00\x00\xD8\x00)", 1},
        ConverterCase{"PastUnicode", "utf32", "\0\x11\0\0"sv, R"(\x00\x11\x00\x00)", 1},
        ConverterCase{"Nul", "utf32le", "\0\0\0\0"sv, R"(\x00)", 1},
        ConverterCase{"CutOff", "utf32", "\0\0\0a\0\0\0"sv, R"(a\x00\x00\x00)", 1},
        ConverterCase{"Internal", "ucs4internal", "a\0\0\0"sv, "a", 0},
        ConverterCase{"Swapped", "ucs4swapped", "\0\0\0a"sv, "a", 0}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Utf7, Conversion,
    ::testing::Values(ConverterCase{"OfTheRfc", "UTF-7", "Hi Mom -+Jjo--! A+ImIDkQ. +ZeVnLIqe-",
                                    "Hi Mom -☺-! A≢Α. 日本語", 0},
                      ConverterCase{"Plus", "utf7", "1 +- 1", "1 + 1", 0},
                      ConverterCase{"SurrogatePair", "utf7", "+2D3eAA-", "\U0001F600", 0},
                      ConverterCase{"RunEndsWithTheInput", "utf7", "+AEE", "A", 0},
                      ConverterCase{"RunEndsWithTheLine", "utf7", "+AEE\nb", "A\nb", 0},
                      ConverterCase{"NotDirect", "utf7", "a\\~\x80\x01", R"(a\x5C\x7E\x80\x01)", 4},
                      ConverterCase{"EmptyRun", "utf7", "+!+", R"(\x2B!\x2B)", 2},
                      ConverterCase{"Nul", "utf7", "+AAAAQQ-\0"sv, R"(\x00A\x00)", 2},
                      ConverterCase{"HighAlone", "utf7", "+2D0-+2D0AQQ-",
                                    R"(\x32\x44\x30\x32\x44\x30A)", 2},
                      ConverterCase{"LowAlone", "utf7", "+3gA-", R"(\x33\x67\x41)", 1},
                      ConverterCase{"TooFewBits", "utf7", "+A-b", R"(\x41b)", 1},
                      ConverterCase{"TooManyBits", "utf7", "+AEEA-", R"(A\x41)", 1},
                      ConverterCase{"PaddingNotZero", "utf7", "+AEF-", R"(A\x46)", 1}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    UtfEbcdic, Conversion,
    ::testing::Values(
        ConverterCase{"ByteOrderMark", "UTF-EBCDIC", "\xDD\x73\x66\x73", "\uFEFF", 0},
        ConverterCase{"LineEnds", "utfebcdic", "\xC8\x89\x15\x25\x0D", "Hi\n\u0085\r", 0},
        ConverterCase{"Lengths", "utfebcdic", "\x8B\x4A\xDF\x71\x57\x41", "é\U0001F600", 0},
        ConverterCase{"Highest", "utfebcdic", "\xEE\x42\x73\x73\x73", "\U0010FFFF", 0},
        ConverterCase{"PastUnicode", "utfebcdic", "\xEE\x43\x41\x41\x41", R"(\xEE\x43\x41\x41\x41)",
                      1},
        ConverterCase{"Overlong", "utfebcdic", "\x74\x41\xC8", R"(\x74\x41H)", 1},
        ConverterCase{"OverlongFive", "utfebcdic", "\xED\x41\x41\x41\x57",
                      R"(\xED\x41\x41\x41\x57)", 1},
        ConverterCase{"Surrogate", "utfebcdic", "\xDD\x65\x41\x41", R"(\xDD\x65\x41\x41)", 1},
        ConverterCase{"BrokenOff", "utfebcdic", "\xDD\x73\xC8\x41\0\xDD"sv,
                      R"(\xDD\x73H\x41\x00\xDD)", 4}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Cesu8, Conversion,
    ::testing::Values(ConverterCase{"Pair", "cesu8", "aé€\xED\xA0\xBD\xED\xB8\x80", "aé€\U0001F600",
                                    0},
                      ConverterCase{"FourBytes", "cesu8", "\U0001F600a", R"(\xF0\x9F\x98\x80a)", 1},
                      ConverterCase{"HighAlone", "cesu8", "\xED\xA0\xBD€\xED\xA0\xBD",
                                    R"(\xED\xA0\xBD€\xED\xA0\xBD)", 2},
                      ConverterCase{"HighThenCutOff", "cesu8", "\xED\xA0\xBD\xED\xB8",
                                    R"(\xED\xA0\xBD\xED\xB8)", 2},
                      ConverterCase{"OverlongThree", "cesu8", "\xE0\x9F\xBF", R"(\xE0\x9F\xBF)", 1},
                      ConverterCase{"LowAlone", "cesu8", "\xED\xB8\x80", R"(\xED\xB8\x80)", 1},
                      ConverterCase{"Malformed", "cesu8", "\xC0\x80\xE2\x82z\x80\0"sv,
                                    R"(\xC0\x80\xE2\x82z\x80\x00)", 4}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    Escapes, Conversion,
    ::testing::Values(
        ConverterCase{"Java", "java", R"(a\u00e9\uD83D\uDE00\u0041)", "aé\U0001F600A", 0},
        ConverterCase{"JavaNul", "java", R"(\u0000)", R"(\x00)", 1},
        ConverterCase{"JavaMalformed", "java", R"(\uD83Dx\uDE00 \u12 C:\users \U0001F600 \)",
                      R"(\uD83Dx\uDE00 \u12 C:\users \U0001F600 \)", 0},
        ConverterCase{"JavaLowFirst", "java", R"(\uDE00\uDE01)", R"(\uDE00\uDE01)", 0},
        ConverterCase{"JavaHighThenEscape", "java", R"(\uD83D\u00e9\uD83D\u00)",
                      R"(\uD83Dé\uD83D\u00)", 0},
        ConverterCase{"C99", "c99", R"(\u00e9\U0001F600\u0040)", "é\U0001F600@", 0},
        ConverterCase{"C99NotAllowed", "c99", R"(\u0041\u0000\uD83D\uDE00\U00110000)",
                      R"(\u0041\u0000\uD83D\uDE00\U00110000)", 0},
        ConverterCase{"NotAscii", "java", "\xC3\xA9\0"sv, R"(\xC3\xA9\x00)", 3}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    SingleByte, Conversion,
    ::testing::Values(
        ConverterCase{"Latin1", "latin1", "L'\xE9t\xE9 0123456789abcdef\xE9\0"sv,
                      "L'été 0123456789abcdefé\\x00", 1},
        ConverterCase{"Undefined", "windows-1252", "\x80\x81", R"(€\x81)", 1},
        ConverterCase{"Hebrew", "windows-1255", "\xF9\xEC\xE5\xED", "שלום", 0},
        ConverterCase{"NoJoiningOfAccents", "cp1258", "a\xCC", "a\u0300", 0},
        ConverterCase{"Chinese646", "cn", "$\\~", "¥\\‾", 0},
        ConverterCase{"Japanese646", "jp", "$\\~", "$¥‾", 0},
        ConverterCase{"HalfWidth", "JIS_X0201", "\\~\xA1\xDF\xE0", "¥‾｡ﾟ\\xE0", 1},
        ConverterCase{"Armenian", "armscii-8", "\xB2\xB3", "Աա", 0},
        ConverterCase{"Georgian", "georgian-ps", "\xC0\xC1", "აბ", 0},
        ConverterCase{"GeorgianAcademy", "georgian-academy", "\xC0\xC1", "აბ", 0},
        ConverterCase{"MacHebrewSequence", "machebrew", "\xC0\xE0", "\u05DC\u05B9א", 0},
        ConverterCase{"MacThaiWithoutHints", "macthai", "\xA1\x83\x90", "ก\u0E48\\x90", 1},
        ConverterCase{"MacUkrainian", "macukraine", "\xA2\xFF", "Ґ¤", 0},
        ConverterCase{"NextStep", "nextstep", "\x81\xFE", "À\\xFE", 1}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    MultiByte, Conversion,
    ::testing::Values(
        ConverterCase{"ShiftJis", "Shift_JIS", "\x93\xFA\x96{\x8C\xEA\xB1\n", "日本語ｱ\n", 0},
        ConverterCase{"UnassignedPair", "sjis", "\x85\x40z", R"(\x85\x40z)", 1},
        ConverterCase{"LeadWithoutTrail", "sjis", "\x81 \xFFz\x93", R"(\x81 \xFFz\x93)", 3},
        ConverterCase{"NulAfterLead", "sjis", "\x93\0A"sv, R"(\x93\x00A)", 2},
        ConverterCase{"EucJp", "euc-jp", "\xC6\xFC\x8F\xB0\xA1\x8E\xB1", "日丂ｱ", 0},
        ConverterCase{"EucJpCutOff", "euc-jp", "\x8F\x41\x8F\xB0z\x8F\xB0",
                      R"(\x8FA\x8F\xB0z\x8F\xB0)", 3},
        ConverterCase{"EucTw", "euc-tw", "\xE7\xD9\xE1\xFE\x8E\xA2", R"(電視\x8E\xA2)", 1},
        ConverterCase{"Gb18030", "gb18030", "\x94\x39\xFC\x36\xD6\xD0\x81\x30",
                      "\U0001F600中\\x81\\x30", 1},
        ConverterCase{"PairForTwoCharacters", "big5-hkscs", "\x88\x62\0\x88\x62\xFF"sv,
                      "\u00CA\u0304\\x00\u00CA\u0304\\xFF", 2},
        // glibc reports the unassigned pair after it, GNU libiconv before it.
        ConverterCase{"PairThatIconvStepsOver", "cp949", "\xB0\xA1\xA2\xE8\xA2\xE8\nz\xA2\xE8",
                      "가\\xA2\\xE8\\xA2\\xE8\nz\\xA2\\xE8", 3}),
    caseName);

INSTANTIATE_TEST_SUITE_P(
    TwoByteSets, Conversion,
    ::testing::Values(ConverterCase{"Raw", "JIS_X0208", "F|K\\\n8l", "日本\n語", 0},
                      ConverterCase{"RawBroken", "gb_2312-80", "VP\xD6V\nV!x)!",
                                    "中\\xD6\\x56\n帧\\x78\\x29\\x21", 4},
                      ConverterCase{"Hz", "HZ", "~{VPND~}abc~~\na~\nb", "中文abc~\nab", 0},
                      ConverterCase{"HzLineEndsTheSet", "hz", "~{VPV\nVP", "中\\x56\nVP", 1},
                      ConverterCase{"HzBroken", "hz", "~x\x80~{VP\x01\xD6zz~",
                                    R"(\x7Ex\x80中\x01\xD6\x7A\x7A\x7E)", 6},
                      ConverterCase{"HzNul", "hz", "\0~{V\0VP~}"sv, R"(\x00\x56\x00中)", 3}),
    caseName);

// asciiRunLength() reads words and blocks; the test has the other byte at each position in them.
TEST(AsciiRun, EndsAtTheFirstOtherByte) {
  const std::string ascii = repeated("a~\x01\x7F", 25);
  for (std::size_t at = 0; at < ascii.size(); ++at) {
    for (const auto& [byte, escaped] : {std::pair{'\0', "\\x00"}, std::pair{'\x80', "\\x80"}}) {
      std::string bytes = ascii, text = ascii;
      bytes[at] = byte;
      text.replace(at, 1, escaped);
      EXPECT_EQ(convertAll("utf-8", bytes), (Converted{text, 1})) << at;
    }
  }
}

}  // namespace
}  // namespace sourcetype::testing
