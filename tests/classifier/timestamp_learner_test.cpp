#include "classifier/timestamp_learner.h"

#include <gtest/gtest.h>

#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using sourcetype::testing::repeated;

struct PrefixCase {
  const char* before;
  const char* expression;
};

class TimePrefixTest : public ::testing::TestWithParam<PrefixCase> {};

TEST_P(TimePrefixTest, SkipsToTheLastAnchor) {
  EXPECT_EQ(makeTimePrefixRegex(GetParam().before), GetParam().expression);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, TimePrefixTest,
    ::testing::Values(PrefixCase{"", ""}, PrefixCase{"ab./\"';|_ 1", ""},
                      PrefixCase{"host1 sshd[123]: ", ":"}, PrefixCase{"[", R"(\[)"},
                      PrefixCase{"a:b:c ", "(?:.*?:){2}"},
                      PrefixCase{"[10/Oct/2000:13:55:36 ", "(?:.*?:){3}"},
                      PrefixCase{"a\t", R"(\t)"}, PrefixCase{"\t\ta", R"((?:.*?\t){2})"},
                      PrefixCase{R"(C:\a)", R"(\)"}, PrefixCase{"a?b?", R"((?:.*?\?){2})"},
                      PrefixCase{"x@", "@"}, PrefixCase{"a+", R"(\+)"}));

// Returns a line of `before` bytes, the last of which is an anchor, and a timestamp of ten bytes.
std::string stamped(std::size_t before) {
  return std::string(before - 1, 'x') + "=2026-01-02\n";
}

// Finds "2026-01-02" as the first part and "[...]" as the second part of a timestamp.
std::optional<Timestamp> find(std::string_view line) {
  const auto at = line.find("2026-01-02");
  if (at == std::string_view::npos) return std::nullopt;
  const auto start = static_cast<std::ptrdiff_t>(at);
  Timestamp place{.main = {start, start + 10}, .second = {}};
  if (const auto open = line.find('['); open != std::string_view::npos) {
    place.second = {static_cast<std::ptrdiff_t>(open), static_cast<std::ptrdiff_t>(line.find(']'))};
  }
  if (line.ends_with("nowhere")) place.main = {};
  return place;
}

struct LearnCase {
  const char* name;
  std::string text;
  PropertiesMap before;
  PropertiesMap after;
};

class TimestampSettingsTest : public ::testing::TestWithParam<LearnCase> {};

TEST_P(TimestampSettingsTest, AreLearned) {
  PropertiesMap settings = GetParam().before;
  learnTimestampSettings("t", readSampleText(GetParam().text, {}, "text"), settings, find);
  EXPECT_EQ(settings, GetParam().after) << settings.toString();
}

INSTANTIATE_TEST_SUITE_P(
    Samples, TimestampSettingsTest,
    ::testing::Values(
        LearnCase{"ThirtySayNothing", repeated(stamped(20), 30) + repeated("none\n", 9), {}, {}},
        LearnCase{"ThirtyOneDo",
                  repeated(stamped(20), 31),
                  {},
                  {{"TIME_PREFIX", "="}, {"MAX_TIMESTAMP_LOOKAHEAD", "50"}}},
        LearnCase{"SomeLinesWithout",
                  repeated(stamped(5), 31) + "none\n" + repeated("2026-01-02 nowhere\n", 9),
                  {{"SHOULD_LINEMERGE", "False"}},
                  {{"MAX_TIMESTAMP_LOOKAHEAD", "35"}, {"SHOULD_LINEMERGE", "True"}}},
        LearnCase{
            "NoPrefixAtTen", repeated(stamped(10), 40), {}, {{"MAX_TIMESTAMP_LOOKAHEAD", "40"}}},
        LearnCase{"PrefixAboveTen",
                  repeated(stamped(10), 20) + repeated(stamped(11), 20),
                  {},
                  {{"TIME_PREFIX", "="}, {"MAX_TIMESTAMP_LOOKAHEAD", "40"}}},
        LearnCase{"PrefixOf36In40",
                  repeated(stamped(20), 36) + repeated("xxxxxxxxxxxxxxxxxxx:2026-01-02\n", 4),
                  {},
                  {{"TIME_PREFIX", "="}, {"MAX_TIMESTAMP_LOOKAHEAD", "50"}}},
        LearnCase{"PrefixOf35In40",
                  repeated(stamped(20), 35) + repeated("xxxxxxxxxxxxxxxxxxx:2026-01-02\n", 5),
                  {},
                  {{"MAX_TIMESTAMP_LOOKAHEAD", "50"}}},
        // Mean ends of 19.75 and 12.3 bytes: the lines at 10 are near, those at 140 and 33 are not.
        LearnCase{"LookaheadOf37In40",
                  repeated("2026-01-02\n", 37) + repeated(stamped(130), 3),
                  {},
                  {{"MAX_TIMESTAMP_LOOKAHEAD", "30"}}},
        LearnCase{
            "LookaheadOf36In40", repeated("2026-01-02\n", 36) + repeated(stamped(23), 4), {}, {}},
        LearnCase{"PrefixIsThere",
                  repeated(stamped(20), 40) + "none\n",
                  {{"TIME_PREFIX", "x"}},
                  {{"TIME_PREFIX", "x"},
                   {"MAX_TIMESTAMP_LOOKAHEAD", "50"},
                   {"SHOULD_LINEMERGE", "True"}}},
        LearnCase{"BothAreThere",
                  repeated(stamped(20), 40) + "none\n",
                  {{"TIME_PREFIX", "x"}, {"MAX_TIMESTAMP_LOOKAHEAD", "1"}},
                  {{"TIME_PREFIX", "x"}, {"MAX_TIMESTAMP_LOOKAHEAD", "1"}}},
        LearnCase{"BothPiecesCount",
                  repeated("xxxxxxxxxxx,[xxx]  2026-01-02\n", 40),
                  {},
                  {{"TIME_PREFIX", ","}, {"MAX_TIMESTAMP_LOOKAHEAD", "49"}}},
        LearnCase{
            "TheFirstThousandLines", repeated("a\n", 1000) + repeated(stamped(20), 99), {}, {}}),
    [](const auto& test) { return test.param.name; });

}  // namespace
}  // namespace sourcetype
