#include "timestamp/datetime_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "support/system.h"
#include "support/table.h"
#include "support/temp_tree.h"
#include "timestamp/timestamp_parser.h"
#include "util/log_configuration.h"

namespace sourcetype {
namespace {

using ::testing::HasSubstr;
using testing::TempTree;

// A file whose other entries make "2024-05-06" a date.
class DatetimeFile : public ::testing::Test {
 protected:
  DatetimeFile() {
    const auto configuration = tree_.write(
        "log.cfg",
        "rootCategory=WARN,A\nappender.A=FileAppender\nappender.A.fileName=${ROOT}/log\n"
        "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=%m%n\n");
    EXPECT_EQ(configureLogging(configuration, {{"ROOT", pathToText(tree_.root())}}), "");
  }
  ~DatetimeFile() override { configureLogging("", {}); }

  bool findsDate(const std::string& document) const {
    const auto formats = readDatetimeFile(tree_.write("datetime.xml", document));
    TimestampParser parser(formats, {}, "test", {});
    return parser.parse("1970-01-02").has_value();
  }
  // With the faulty entry in line 3.
  bool findsDateBeside(const std::string& entry) const {
    return findsDate("<datetime>\n<part name='y'>(?'year'[0-9]{4})</part>\n" + entry +
                     "\n<stamp name='d' kind='date' begins='9999-'>{y}-(?'month'[0-9]{2})-"
                     "(?'day'[0-9]{2})</stamp></datetime>");
  }
  std::string log() const { return tree_.read("log"); }

  TempTree tree_;
};

TEST_F(DatetimeFile, LeavesOutFaultyEntriesAndSaysWhere) {
  testing::forEachRow("timestamp/datetime_faults.txt", 2, [&](const testing::Row& row) {
    tree_.write("log", "");
    EXPECT_TRUE(findsDateBeside(row[0]));
    EXPECT_THAT(log(), HasSubstr("datetime.xml:3: <"));
    EXPECT_THAT(log(), HasSubstr(row[1]));
  });
}

TEST_F(DatetimeFile, IsNotUsedWhenItIsNoSuchDocument) {
  testing::forEachRow("timestamp/datetime_documents.txt", 2, [&](const testing::Row& row) {
    tree_.write("log", "");
    EXPECT_FALSE(findsDate(row[0]));
    EXPECT_THAT(log(), HasSubstr(row[1]));
  });
}

TEST_F(DatetimeFile, MayBeMissing) {
  const auto formats = readDatetimeFile(tree_.path("none.xml"));
  TimestampParser parser(formats, {}, "test", {});
  EXPECT_FALSE(parser.parse("1970-01-02 00:00:00"));
  EXPECT_FALSE(parser.parse("1970-01-02 00:00:00"));
  EXPECT_THAT(log(), HasSubstr("none.xml ("));
  EXPECT_PRED1(testing::saysMissing, log());
  EXPECT_EQ(std::ranges::count(log(), '\n'), 1);
}

TEST_F(DatetimeFile, PutsPartsIntoPartsUpToABound) {
  std::string entries = "<part name='b'>xxxxxxxx</part>";
  char name = 'c';
  for (; name < 'r'; ++name) {
    const std::string before = {'{', static_cast<char>(name - 1), '}'};
    entries += "<part name='" + std::string(1, name) + "'>" + before + before + "</part>";
  }
  EXPECT_TRUE(findsDateBeside(entries));
  EXPECT_THAT(log(), HasSubstr("longer than"));
}

TEST_F(DatetimeFile, ShipsWithoutFaults) {
  const auto formats = readDatetimeFile(SOURCETYPE_ETC_DIR "/datetime.xml");
  for (const TimestampForm& form : formats.forms()) form.expression.get();
  EXPECT_EQ(log(), "");
}

}  // namespace
}  // namespace sourcetype
