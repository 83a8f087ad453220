#include "conf/logical_lines.h"

#include <gtest/gtest.h>

#include <vector>

#include "support/table.h"

namespace sourcetype {
namespace {

std::vector<LogicalLine> linesOf(std::string_view bytes, TextKeeper& keeper,
                                 std::string_view path = "x.conf") {
  LogicalLineReader reader(bytes, path, keeper);
  std::vector<LogicalLine> lines;
  for (LogicalLine line; reader.next(line);) lines.push_back(line);
  return lines;
}

TEST(LogicalLines, AreReadByKind) {
  const std::vector<std::string> kinds{"blank", "comment", "header", "setting", "malformed"};
  testing::forEachRow("conf/logical_lines.txt", 5, [&](const testing::Row& row) {
    TextKeeper keeper;
    const auto lines = linesOf(row[1], keeper);
    ASSERT_EQ(lines.size(), 1U);
    EXPECT_EQ(kinds.at(static_cast<std::size_t>(lines[0].kind)), row[2]);
    EXPECT_EQ(lines[0].name, row[3]);
    EXPECT_EQ(lines[0].value, row[4]);
    EXPECT_EQ(lines[0].raw, row[1]);
  });
}

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

}  // namespace
}  // namespace sourcetype
