#include "util/log_configuration.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/path_form.h"
#include "support/system.h"
#include "support/table.h"
#include "support/temp_tree.h"
#include "util/logging.h"

namespace sourcetype {
namespace {

using ::testing::HasSubstr;
using testing::TempTree;

const LogCategory kReader("Reader");
const LogCategory kDeepReader("Reader.Deep");
const LogCategory kWriter("Writer");

// Appenders that write the level, the category and the text of a record to the file "log".
constexpr const char* kToFile =
    "appender.A = FileAppender\n"
    "appender.A.fileName = ${ROOT}/log\n"
    "appender.A.layout = PatternLayout\n"
    "appender.A.layout.ConversionPattern = %p %c %m%n\n";

class Logging : public ::testing::Test {
 protected:
  std::string configure(const std::string& text) {
    return configureFile(tree_.write("x.cfg", text));
  }
  std::string configureFile(const std::filesystem::path& file) {
    return configureLogging(file, {{"ROOT", pathToText(tree_.root())}, {"LOOP", "${LOOP}"}});
  }
  std::string log() const { return tree_.read("log"); }

  TempTree tree_;
};

TEST_F(Logging, KeepsARecordOnOneLineUnlessItIsMeantToBeSeveral) {
  ASSERT_EQ(configure(std::string("rootCategory=WARN,A\n") + kToFile), "");
  logWarn(kReader, "a %s", "c\nWARN Reader forged");
  logWarn(kReader, "%s", MultiLineText{"d\ne"});
  EXPECT_EQ(log(), "WARN Reader a c\\x0AWARN Reader forged\nWARN Reader d\ne\n");
}

TEST_F(Logging, WritesWhatEachCategoryAsksForAsConfigured) {
  testing::forEachRow("util/logging.txt", 4, [&](const testing::Row& row) {
    tree_.write("log", "");
    tree_.write("x-local.cfg", row[2]);
    ASSERT_EQ(configure(row[1] + kToFile), "");
    logDebug(kReader, "one");
    logWarn(kDeepReader, "two");
    logError(kDeepReader, "three");
    logInfo(kWriter, "four");
    logWarn(kWriter, "five");
    EXPECT_EQ(log(), row[3]);
    EXPECT_FALSE(std::filesystem::exists(tree_.path("unmade")));
  });
}

TEST_F(Logging, AppenderSettingsHaveTheirEffect) {
  tree_.write("log", "old\n");
  ASSERT_EQ(configure(std::string("rootCategory=INFO,A\n"
                                  "category.Reader=INFO,B\nadditivity.Reader=false\n"
                                  "appender.A.append=false\nappender.A.threshold=WARN\n"
                                  "appender.B=org.x.RollingFileAppender\n"
                                  "appender.B.fileName=${ROOT}/rolling\n"
                                  "appender.B.maxFileSize=10\nappender.B.maxBackupIndex=2\n"
                                  "appender.B.layout=org.x.PatternLayout\n") +
                      kToFile),
            "");
  logInfo(kWriter, "below the threshold");
  logWarn(kWriter, "kept");
  for (const char* text : {"first roll", "second roll", "third roll", "short"}) {
    logInfo(kReader, text);
  }
  EXPECT_EQ(log(), "WARN Writer kept\n");
  EXPECT_EQ(tree_.read("rolling"), "short\n");
  EXPECT_EQ(tree_.read("rolling.1"), "third roll\n");
  EXPECT_EQ(tree_.read("rolling.2"), "second roll\n");
}

TEST_F(Logging, EveryOtherAppenderTypeIsMadeAndTakesARecord) {
  ::testing::internal::CaptureStdout();
  ASSERT_EQ(configure("rootCategory=WARN,C,D,S\nappender.C=ConsoleAppender\n"
                      "appender.C.layout=BasicLayout\n"
                      "appender.D=DailyRollingFileAppender\nappender.D.fileName=${ROOT}/log\n"
                      "appender.S=SyslogAppender\nappender.S.syslogHost=127.0.0.1\n"
                      "appender.S.portNumber=9\n"),
            "");
  logWarn(kReader, "everywhere");
  EXPECT_THAT(::testing::internal::GetCapturedStdout(), HasSubstr("WARN Reader : everywhere\n"));
  EXPECT_THAT(log(), HasSubstr(" WARN  Reader - everywhere\n"));
}

TEST_F(Logging, ASecondConfigurationStartsFromACleanState) {
  ASSERT_EQ(configure(std::string("rootCategory=DEBUG,A\ncategory.Reader=DEBUG,A\n") + kToFile),
            "");
  ASSERT_EQ(configure("rootCategory=ERROR\n"), "");
  EXPECT_FALSE(kReader.isEnabled(LogLevel::Warn));
  EXPECT_TRUE(kReader.isEnabled(LogLevel::Error));
  logError(kReader, "to nobody");
  EXPECT_EQ(log(), "");
}

TEST_F(Logging, AFaultIsToldInOneLineAndWarningsStillGoToStandardError) {
  if (testing::kHasFifos) testing::makeFifo(tree_.path("fifo"));
  testing::forEachRow("util/broken_logging.txt", 3, [&](const testing::Row& row) {
    if (row[0] == "FifoForFile" && !testing::kHasFifos) return;
    ::testing::internal::CaptureStderr();
    const std::string complaint = configure(row[1]);
    logInfo(kReader, "not shown");
    logWarn(kReader, "shown");
    const std::string shown = ::testing::internal::GetCapturedStderr();

    EXPECT_THAT(complaint, HasSubstr("x.cfg"));
    EXPECT_THAT(complaint, HasSubstr(row[2]));
    EXPECT_EQ(complaint.find('\n'), complaint.size() - 1);
    EXPECT_THAT(shown, ::testing::EndsWith(" WARN  Reader - shown\n"));
    EXPECT_EQ(std::ranges::count(shown, '\n'), 1);
  });
}

TEST_F(Logging, AFaultVoidsOnlyItselfAndIsToldWithItsFile) {
  const auto local = tree_.write("x-local.cfg",
                                 "rootCategory=600, Lost, A\nappender.Lost=PigeonAppender\n"
                                 "appender.A.append=perhaps\ncategory.Writer=LOUD\n");
  const auto complaint = configure(std::string("rootCategory=WARN\nnonsense\n") + kToFile);
  logInfo(kReader, "one");
  logInfo(kWriter, "two");
  EXPECT_EQ(log(), "INFO Reader one\nINFO Writer two\n");
  const auto name = pathToText(local);
  EXPECT_EQ(complaint, pathToText(tree_.path("x.cfg")) +
                           ": line 2 is not of the form key = value.\n" + name +
                           ": category.Writer: unknown level \"LOUD\".\n" + name +
                           ": appender.Lost: unknown appender type \"PigeonAppender\".\n" + name +
                           ": appender.A.append: neither true nor false: \"perhaps\".\n");
}

TEST_F(Logging, AMissingOrUnreadableConfigurationIsTold) {
  const auto complaint = configureFile(tree_.path("none.cfg"));
  EXPECT_THAT(complaint, HasSubstr("none.cfg: "));
  EXPECT_PRED1(testing::saysMissing, complaint);
  EXPECT_THAT(configureFile(tree_.root()), HasSubstr("not a regular file"));
  std::filesystem::create_directory(tree_.path("x-local.cfg"));
  EXPECT_THAT(configure("rootCategory=WARN\n"), HasSubstr("x-local.cfg: not a regular file"));
}

}  // namespace
}  // namespace sourcetype
