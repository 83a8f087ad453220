#include "util/logging.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

#include "platform/path_form.h"
#include "support/system.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using ::testing::HasSubstr;
using testing::repeated;
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

TEST_F(Logging, WritesToTheFileWhatEachCategoryAsksFor) {
  ASSERT_EQ(configure(std::string("# a comment\r\n\n"
                                  "log4cpp.rootCategory = warn, A\r\n"
                                  "category.Reader=DEBUG # and its children\n"
                                  "log4j.category.Reader.Deep=ERROR\n") +
                      kToFile),
            "");
  logDebug(kReader, "one %d", 1);
  logWarn(kDeepReader, "not asked for");
  logError(kDeepReader, "two");
  logInfo(kWriter, "not asked for");
  logWarn(kWriter, "three");
  EXPECT_EQ(log(), "DEBUG Reader one 1\nERROR Reader.Deep two\nWARN Writer three\n");
}

TEST_F(Logging, KeepsARecordOnOneLineUnlessItIsMeantToBeSeveral) {
  ASSERT_EQ(configure(std::string("rootCategory=WARN,A\n") + kToFile), "");
  logWarn(kReader, "a %s", "c\nWARN Reader forged");
  logWarn(kReader, "%s", MultiLineText{"d\ne"});
  EXPECT_EQ(log(), "WARN Reader a c\\x0AWARN Reader forged\nWARN Reader d\ne\n");
}

TEST_F(Logging, LaysTheLocalFileOverTheShippedOneKeyByKey) {
  tree_.write("x-local.cfg", "rootCategory = INFO, A\nappender.A.layout = SimpleLayout\n");
  ASSERT_EQ(configure(std::string("rootCategory=ERROR, Unmade\nappender.Unmade=FileAppender\n"
                                  "appender.Unmade.fileName=${ROOT}/unmade\n") +
                      kToFile),
            "");
  logInfo(kReader, "text");
  EXPECT_EQ(log(), "INFO    : text\n");
  EXPECT_FALSE(std::filesystem::exists(tree_.path("unmade")));
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

TEST_F(Logging, AVariableIsNotLookedAtAgain) {
  ASSERT_EQ(configure(std::string("rootCategory=WARN,A\n") + kToFile +
                      "appender.A.layout.ConversionPattern=<${LOOP}>%n\n"),
            "");
  logWarn(kReader, "text");
  EXPECT_EQ(log(), "<${LOOP}>\n");
}

struct BrokenCase {
  const char* name;
  std::string text;
  const char* reason;
};
void PrintTo(const BrokenCase& row, std::ostream* out) {
  *out << row.name;
}

class BrokenConfiguration : public Logging, public ::testing::WithParamInterface<BrokenCase> {};

TEST_P(BrokenConfiguration, IsToldInOneLineAndWarningsGoToStandardError) {
  if (GetParam().name == std::string_view("FifoForFile")) {
    if (!testing::kHasFifos) GTEST_SKIP();
    testing::makeFifo(tree_.path("fifo"));
  }
  ::testing::internal::CaptureStderr();
  const std::string complaint = configure(GetParam().text);
  logInfo(kReader, "not shown");
  logWarn(kReader, "shown");
  const std::string shown = ::testing::internal::GetCapturedStderr();

  EXPECT_THAT(complaint, HasSubstr("x.cfg"));
  EXPECT_THAT(complaint, HasSubstr(GetParam().reason));
  EXPECT_EQ(complaint.find('\n'), std::string::npos);
  EXPECT_THAT(shown, ::testing::EndsWith(" WARN  Reader - shown\n"));
  EXPECT_EQ(std::ranges::count(shown, '\n'), 1);
}

std::string withAppender(const std::string& settings) {
  return "rootCategory=WARN,A\n" + settings;
}
std::string withPattern(const std::string& pattern) {
  return "rootCategory=WARN,A\nappender.A=ConsoleAppender\nappender.A.layout=PatternLayout\n"
         "appender.A.layout.ConversionPattern=" +
         pattern + "\n";
}

INSTANTIATE_TEST_SUITE_P(
    Logging, BrokenConfiguration,
    ::testing::Values(
        BrokenCase{"Empty", "", "rootCategory is missing"},
        BrokenCase{"Binary",
                   std::string("\x7F"
                               "ELF\0\1",
                               6),
                   "not a text file"},
        BrokenCase{"Huge", repeated("# comment\n", 100000), "too large"},
        BrokenCase{"NoKey", "rootCategory=WARN\n\nnonsense\n", "line 3"},
        BrokenCase{"UnknownLevel", "rootCategory=LOUD\n", "unknown level \"LOUD\""},
        BrokenCase{"NumberForLevel", "rootCategory=300\n", "unknown level"},
        BrokenCase{"RootWithoutLevel", "rootCategory=NOTSET\n", "names no level"},
        BrokenCase{"NamelessCategory", "rootCategory=WARN\ncategory.=DEBUG\n", "category"},
        BrokenCase{"BottomlessCategory",
                   "rootCategory=WARN\ncategory." + repeated("a.", 10000) + "=DEBUG\n", "bytes"},
        BrokenCase{"NotAFlag", "rootCategory=WARN\nadditivity.Reader=perhaps\n", "\"perhaps\""},
        BrokenCase{"UndefinedAppender", withAppender(""), "appender.A"},
        BrokenCase{"UnknownAppenderType", withAppender("appender.A=x.PigeonAppender\n"),
                   "\"PigeonAppender\""},
        BrokenCase{"UnknownTarget",
                   withAppender("appender.A=ConsoleAppender\nappender.A.target=printer\n"),
                   "appender.A.target"},
        BrokenCase{"NoFileName", withAppender("appender.A=FileAppender\n"), "appender.A.fileName"},
        BrokenCase{"UnopenableFile",
                   withAppender("appender.A=FileAppender\nappender.A.fileName=${ROOT}/none/log\n"),
                   "No such file or directory"},
        BrokenCase{"FifoForFile",
                   withAppender("appender.A=FileAppender\nappender.A.fileName=${ROOT}/fifo\n"),
                   "not a regular file"},
        BrokenCase{"DirectoryForFile",
                   withAppender("appender.A=RollingFileAppender\nappender.A.fileName=${ROOT}\n"),
                   "not a regular file"},
        BrokenCase{"SizeWithUnit",
                   withAppender("appender.A=RollingFileAppender\nappender.A.fileName=${ROOT}/log\n"
                                "appender.A.maxFileSize=10MB\n"),
                   "\"10MB\""},
        BrokenCase{"UnknownLayout",
                   withAppender("appender.A=ConsoleAppender\nappender.A.layout=XmlLayout\n"),
                   "\"XmlLayout\""},
        BrokenCase{"UnknownConversion", withPattern("%m%n%Q"), "ConversionPattern"},
        BrokenCase{"PatternEndsInConversion", withPattern("%m%"), "ConversionPattern"},
        BrokenCase{"HugeField", withPattern("%-2000000000m%n"), "field too wide"},
        BrokenCase{"LongTime", withPattern("%d{" + repeated("%c", 20) + "}%n"), "too long"},
        BrokenCase{"UnknownVariable", "rootCategory=${HOME}\n", "unknown variable ${HOME}"},
        BrokenCase{"UnclosedVariable", "rootCategory=${ROOT\n", "unknown variable ${ROOT"}),
    [](const auto& test) { return test.param.name; });

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
