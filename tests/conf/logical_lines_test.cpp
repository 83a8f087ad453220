#include "conf/logical_lines.h"

#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace sourcetype {
namespace {

using std::string_view_literals::operator""sv;

std::vector<LogicalLine> linesOf(std::string_view bytes, TextKeeper& keeper,
                                 std::string_view path = "x.conf") {
  LogicalLineReader reader(bytes, path, keeper);
  std::vector<LogicalLine> lines;
  for (LogicalLine line; reader.next(line);) lines.push_back(line);
  return lines;
}

struct LineCase {
  const char* name;
  std::string_view bytes;
  LineKind kind;
  std::string_view key;  // or the stanza
  std::string_view value = {};
};

void PrintTo(const LineCase& row, std::ostream* out) {
  *out << row.name;
}

class OneLine : public ::testing::TestWithParam<LineCase> {};

TEST_P(OneLine, ReadsAs) {
  TextKeeper keeper;
  const auto lines = linesOf(GetParam().bytes, keeper);
  ASSERT_EQ(lines.size(), 1U);
  EXPECT_EQ(lines[0].kind, GetParam().kind);
  EXPECT_EQ(lines[0].name, GetParam().key);
  EXPECT_EQ(lines[0].value, GetParam().value);
  EXPECT_EQ(lines[0].raw, GetParam().bytes);
}

INSTANTIATE_TEST_SUITE_P(
    Syntax, OneLine,
    ::testing::Values(
        LineCase{"Blank", " \t\r\n", LineKind::Blank, ""},
        LineCase{"Comment", "  # x = 1\n", LineKind::Comment, ""},
        LineCase{"CommentIsNotContinued", "; x \\", LineKind::Comment, ""},
        LineCase{"Trimmed", "\t k  =\t v \n", LineKind::Setting, "k", "v"},
        LineCase{"NoCommentInsideALine", "k = v # x\n", LineKind::Setting, "k", "v # x"},
        LineCase{"EmptyValue", "k=", LineKind::Setting, "k", ""},
        LineCase{"OnlyTheFirstEqualsSplits", "k=a=b", LineKind::Setting, "k", "a=b"},
        LineCase{"EscapedEquals", "k\\=1 = a\\b", LineKind::Setting, "k=1", "a\\b"},
        LineCase{"CrLf", "k = v\r\n", LineKind::Setting, "k", "v"},
        LineCase{"Continued", "key = a \\\nb\n", LineKind::Setting, "key", "a \nb"},
        LineCase{"ContinuedCrLf", "k = a\\\r\nb\\\r\nc\r\n", LineKind::Setting, "k", "a\nb\nc"},
        LineCase{"ContinuedIntoAHeaderLookalike", "k = a\\\n[b]\n", LineKind::Setting, "k",
                 "a\n[b]"},
        LineCase{"BackslashAtTheEndOfTheFile", "k = C:\\dir\\", LineKind::Setting, "k",
                 "C:\\dir\\"},
        LineCase{"ByteOrderMark", "\xEF\xBB\xBFk = v", LineKind::Setting, "k", "v"},
        LineCase{"Nul", "k = a\0b"sv, LineKind::Setting, "k", "a\0b"sv},
        LineCase{"HeaderToTheLastBracket", " [a]b] c\n", LineKind::Header, "a]b"},
        LineCase{"HeaderUntrimmed", "[ a ]", LineKind::Header, " a "},
        LineCase{"HeaderWithoutTerminator", "[abc\n", LineKind::Header, "abc"},
        LineCase{"NoEquals", "word\n", LineKind::Malformed, ""}),
    [](const auto& test) { return test.param.name; });

TEST(LogicalLines, CountPhysicalLinesAndReportTheirNumber) {
  TextKeeper keeper;
  LogicalLineReader reader("# one\nk = a\\\nb\nword\nend\\", "/x/props.conf", keeper);
  ::testing::internal::CaptureStderr();
  LogicalLine line;
  while (reader.next(line)) {
  }
  const std::string log = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(reader.lineCount(), 5U);
  EXPECT_NE(log.find("/x/props.conf, line 4: Cannot parse into key-value pair: word"),
            std::string::npos)
      << log;
  EXPECT_NE(log.find("/x/props.conf, line 5: Cannot end on an escape character: end\\"),
            std::string::npos)
      << log;
}

TEST(LogicalLines, LimitKeysButNotTheBlanksAfterThem) {
  TextKeeper keeper;
  const std::string blanks(70000, ' ');
  const std::string longKey(kMaxKeyBytes + 1, 'k');
  ::testing::internal::CaptureStderr();
  const auto lines = linesOf("k" + blanks + "=" + blanks + "v\n" + longKey + "=v\n", keeper);
  const std::string log = ::testing::internal::GetCapturedStderr();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[0].name, "k");
  EXPECT_EQ(lines[0].value, "v");
  EXPECT_EQ(lines[0].value.data(), lines[0].name.data() + 1) << "as near as a setting keeps them";
  EXPECT_EQ(lines[1].kind, LineKind::Malformed);
  EXPECT_NE(log.find("line 2: Key is too long: kkk"), std::string::npos) << log;
  EXPECT_EQ(log.find("line 1"), std::string::npos) << log;
}

TEST(LogicalLines, ReportCarriageReturnsThatDoNotEndALine) {
  for (const auto& [bytes, line] :
       {std::pair{"[a]\rk = v\r", "line 1"}, std::pair{"# c\r\n[a]\n\rk = v\r\n", "line 3"},
        std::pair{"[a]\r\nk = v\r", ""}}) {
    TextKeeper keeper;
    ::testing::internal::CaptureStderr();
    linesOf(bytes, keeper, "/x/props.conf");
    const std::string log = ::testing::internal::GetCapturedStderr();
    const std::string location = std::string("/x/props.conf, ") + line + ": A carriage return";
    EXPECT_EQ(log.find(location) != log.npos, *line != '\0') << log;
    EXPECT_EQ(log.empty(), *line == '\0') << log;
  }
}

TEST(LogicalLines, MayHaveAnyTextInSpecFiles) {
  TextKeeper keeper;
  ::testing::internal::CaptureStderr();
  linesOf("free text\n", keeper, "props.conf.spec");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

// Names, keys and values of any bytes read back the same, except blanks at both ends. No part of
// them becomes a line of its own.
TEST(RenderedLines, ReadBackTheSame) {
  std::mt19937 random(1);
  constexpr std::string_view kAlphabet = "\\\\\n\n\r=[]#; \tab\0"sv;
  const auto text = [&] {
    std::string result(random() % 7, ' ');
    for (char& c : result) c = kAlphabet[random() % kAlphabet.size()];
    return result;
  };
  const auto isTrimmed = [](std::string_view s) {
    return s.find_first_not_of(" \t") == 0 && s.find_last_not_of(" \t") == s.size() - 1;
  };
  for (int i = 0; i < 20000; ++i) {
    const std::string name = text();
    const std::string key = text();
    const std::string value = text();
    TextKeeper keeper;
    const std::string bytes = renderHeader(name) + "\n" + renderSetting(key, value) + "\n[next]\n";
    const auto lines = linesOf(bytes, keeper);
    ASSERT_EQ(lines.size(), 3U) << ::testing::PrintToString(bytes);
    EXPECT_EQ(lines[0].name, name);
    EXPECT_EQ(lines[1].kind, LineKind::Setting);
    if (key.empty() || isTrimmed(key)) {
      EXPECT_EQ(lines[1].name, key) << ::testing::PrintToString(bytes);
    }
    if (value.empty() || isTrimmed(value)) {
      EXPECT_EQ(lines[1].value, value) << ::testing::PrintToString(bytes);
    }
  }
}

}  // namespace
}  // namespace sourcetype
