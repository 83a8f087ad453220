#include "conf/ini_file.h"

#include <gtest/gtest.h>

#include "support/system.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

constexpr std::string_view kText =
    "# about the file\n"
    "\n"
    "early = 1\n"
    "# about b\n"
    "[b]\n"
    "; about k\n"
    "k = 1\n"
    "[a]\n"
    "x = 1\n"
    "[b]\n"
    "k = 2\n"
    "last = \\\n"
    "two lines\n"
    "# the end\n";

TEST(IniFile, KeepsTheCommentsOfSettingsAndTheFirstOfTwoValues) {
  ::testing::internal::CaptureStderr();
  const auto file = IniFile::parse(kText, "x.conf");
  EXPECT_NE(::testing::internal::GetCapturedStderr().find(
                "x.conf, line 11: Key used more than once in the same stanza: b: k = 2"),
            std::string::npos);
  EXPECT_EQ(file.leadingBlock(), "# about the file\n\n");
  EXPECT_EQ(file.trailingBlock(), "# the end\n");
  EXPECT_EQ(file.lineCount(), 14U);
  ASSERT_EQ(file.stanzas().size(), 3U);
  EXPECT_EQ(file.stanzas().at("default").settings.at("early").value, "1");
  const auto& b = file.stanzas().at("b");
  EXPECT_EQ(b.comments, "# about b\n");
  EXPECT_EQ(b.settings.at("k").value, "1");
  EXPECT_EQ(b.settings.at("k").comments, "; about k\n");
  EXPECT_EQ(b.settings.at("last").value, "\ntwo lines");
}

TEST(IniFile, EditsOnlyTheLinesThatChange) {
  auto file = IniFile::parse(kText, "x.conf", Report::No);
  EXPECT_EQ(file.toText(), kText);
  file.set("b", "k", "new");
  file.set("b", "last", "one line");
  file.set("a", "y", "2");
  file.set("a", "y", "3");
  file.set("c", "z", "4");
  EXPECT_EQ(file.toText(),
            "# about the file\n\nearly = 1\n# about b\n[b]\n; about k\nk = new\n"
            "[a]\nx = 1\ny = 3\n[b]\nk = new\nlast = one line\n# the end\n\n[c]\nz = 4\n");
}

TEST(IniFile, EditsTheFirstLineOfAFileWithAByteOrderMark) {
  auto file = IniFile::parse("\xEF\xBB\xBFk = 1\r\n[a]\r\nx = 1\r\n", "x.conf", Report::No);
  file.set("default", "k", "2");
  file.set("a", "x", "2");
  EXPECT_EQ(file.toText(), "k = 2\r\n[a]\r\nx = 2\r\n");
}

TEST(IniFile, AddsAStanzaThatLeavesWhatIsBeforeIt) {
  sourcetype::testing::forEachRow("conf/added_stanzas.txt", 3,
                                  [](const sourcetype::testing::Row& row) {
                                    auto file = IniFile::parse(row[1], "x.conf", Report::No);
                                    file.set("n", "k", "v");
                                    EXPECT_EQ(file.toText(), row[2]);
                                  });
}

TEST(IniFile, IsEmptyWhenTheFileCannotBeOpened) {
  const sourcetype::testing::TempTree tree;
  ::testing::internal::CaptureStderr();
  std::error_code error;
  EXPECT_TRUE(IniFile::read(tree.path("none.conf"), error).stanzas().empty());
  EXPECT_TRUE(error);
  const std::string told = ::testing::internal::GetCapturedStderr();
  EXPECT_NE(told.find("Cannot open ini file for parsing: "), std::string::npos) << told;
  EXPECT_PRED1(sourcetype::testing::saysMissing, told);
}

}  // namespace
}  // namespace sourcetype
