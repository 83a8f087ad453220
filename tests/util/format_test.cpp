#include "util/format.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

namespace sourcetype {
namespace {

using testing::Values;

struct FormatCase {
  const char* name;
  std::string actual;
  std::string expected;
};
void PrintTo(const FormatCase& row, std::ostream* out) {
  *out << row.name;
}

class FormatText : public testing::TestWithParam<FormatCase> {};
TEST_P(FormatText, GivesSomethingReadable) {
  EXPECT_EQ(GetParam().actual, GetParam().expected);
}

constexpr auto kNameOfCase = [](const auto& test) { return test.param.name; };

// The expected texts are what the C library's printf gives for arguments of the right types.
INSTANTIATE_TEST_SUITE_P(
    LikePrintf, FormatText,
    Values(FormatCase{"Text", formatText("a %s b", "x"), "a x b"},
           FormatCase{"PercentSign", formatText("100%% of %d", 7), "100% of 7"},
           FormatCase{"LengthModifiers",
                      formatText("%lu %llu %zu %Lf %lf %hd", std::size_t{1}, ~0ULL, std::size_t{3},
                                 1.5L, 2.5, short{4}),
                      "1 18446744073709551615 3 1.500000 2.500000 4"},
           FormatCase{"Fields",
                      formatText("[%5d|%-5s|%05d|%+d|%.2f|%x]", 42, "ab", 42, 42, 2.675, 255),
                      "[   42|ab   |00042|+42|2.67|ff]"},
           FormatCase{"FlagOftenRepeated", formatText("[%0000000000005d]", 42), "[00042]"},
           FormatCase{"FlagsWithoutMeaningForText", formatText("%+#s", "a"), "a"},
           FormatCase{"CutText", formatText("%.2s", "abc"), "ab"},
           FormatCase{"WidthFromArgument", formatText("[%*d|%-*d|%*d]", 4, 1, 4, 2, -4, 3),
                      "[   1|2   |3   ]"},
           FormatCase{"Positions", formatText("%2$s-%1$s-%2$s", "a", "b"), "b-a-b"},
           FormatCase{"Character", formatText("%c%d", 'A', 'A'), "A65"},
           FormatCase{"LowestNumber", formatText("%lld", std::numeric_limits<long long>::min()),
                      "-9223372036854775808"}),
    kNameOfCase);

INSTANTIATE_TEST_SUITE_P(ByTheArgumentsType, FormatText,
                         Values(FormatCase{"NumberAsText", formatText("%s %s %4s|", 42, 1.5, 7),
                                           "42 1.5    7|"},
                                FormatCase{"LargeUnsignedStaysPositive", formatText("%d", ~0ULL),
                                           "18446744073709551615"},
                                FormatCase{"NegativeStaysNegative", formatText("%lu", -1), "-1"}),
                         kNameOfCase);

INSTANTIATE_TEST_SUITE_P(
    Misfits, FormatText,
    Values(FormatCase{"WritesToMemory", formatText("%n", 1), "%n [1]"},
           FormatCase{"TooFewArguments", formatText("%s%s%s%s", "a"), "%s%s%s%s [a]"},
           FormatCase{"TooManyArguments", formatText("only %s", "a", 2), "only %s [a] [2]"},
           FormatCase{"NoConversion", formatText("none", "a"), "none [a]"},
           FormatCase{"TextForNumber", formatText("%d", "a"), "%d [a]"},
           FormatCase{"NumberForCharacter", formatText("%c", 65), "%c [65]"},
           FormatCase{"TextAsWidth", formatText("%*d", "a", 1), "%*d [a] [1]"},
           FormatCase{"Pointer", formatText("%p", 1), "%p [1]"},
           FormatCase{"LonePercent", formatText("100%"), "100%"},
           FormatCase{"EndsInConversion", formatText("%5.2l", 1), "%5.2l [1]"},
           FormatCase{"HugeWidth", formatText("%9999999999d", 1), "%9999999999d [1]"},
           FormatCase{"HugeWidthArgument", formatText("%*d", 2000000000, 1),
                      "%*d [2000000000] [1]"},
           FormatCase{"LowestWidthArgument",
                      formatText("%*d", std::numeric_limits<long long>::min(), 1),
                      "%*d [-9223372036854775808] [1]"},
           FormatCase{"HugePrecision", formatText("%.2000000000f", 0.5), "%.2000000000f [0.5]"},
           FormatCase{"NegativePrecision", formatText("%.-5f", 0.5), "%.-5f [0.5]"},
           FormatCase{"PositionZero", formatText("%0$s", "a"), "%0$s [a]"},
           FormatCase{"PositionTooLarge", formatText("%2$s", "a"), "%2$s [a]"}),
    kNameOfCase);

INSTANTIATE_TEST_SUITE_P(
    ControlCharacters, FormatText,
    Values(FormatCase{"NewlineInAName", formatText("%s", "a\nERROR b"), "a\\x0AERROR b"},
           FormatCase{"EscapeAndNulAndDelete",
                      formatText("%s", std::string_view("\x1B[2J\0\x7F", 6)), "\\x1B[2J\\x00\\x7F"},
           FormatCase{"TabsAndUnicodeStay", formatText("%s", "a\tÄ€\xC2\xA0"), "a\tÄ€\xC2\xA0"},
           FormatCase{"EightBitControl", formatText("%s", "\xC2\x9B"), "\\xC2\\x9B"},
           FormatCase{"InCharacter", formatText("%c", '\n'), "\\x0A"},
           FormatCase{"InMisfit", formatText("%d", "\n"), "%d [\\x0A]"},
           FormatCase{"MultiLineTextStays", formatText("%s", MultiLineText{"a\n\tb"}), "a\n\tb"}),
    kNameOfCase);

TEST(FormatText, ShowsTheGivenErrorOrElseErrnoForM) {
  const auto denied = std::make_error_code(std::errc::permission_denied);
  EXPECT_EQ(formatText("open %s: %m", "f", denied), "open f: " + denied.message());
  EXPECT_EQ(formatText("%s", "f", denied), "f");
  errno = EEXIST;
  EXPECT_EQ(formatText("%m"), std::generic_category().message(EEXIST));
}

TEST(FormatText, IsBoundedWhateverTheFormatRepeats) {
  std::string format;
  for (int i = 0; i < 100000; ++i) format += "%1$999s";
  EXPECT_LT(formatText(format, "a").size(), format.size() + 10);
  EXPECT_LT(formatText("%.1000f %.1000g %.1000e %.1000a", 1e308, 1e-308, 0.1, 0.1).size(), 6000U);
}

}  // namespace
}  // namespace sourcetype
