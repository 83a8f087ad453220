#include "timestamp/datetime_file.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "support/system.h"
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
  const std::vector<std::pair<std::string, std::string>> faults{
      {"<stamp name='a' kind='date' begins='99-'>{z}</stamp>", "\"z\", which does not stand above"},
      {"<part name='a'>{a}</part>", "\"a\", which does not stand above"},
      {"<part name='y'>x</part>", "the name \"y\" of another one"},
      {"<part name='A'>x</part>", "bad name"},
      {"<part>x</part>", "no attribute \"name\""},
      {"<part name='a'></part>", "no expression"},
      {"<part name='a'>x<b/></part>", "holds \"b\""},
      {"<part name='a'>" + std::string(9000, 'x') + "</part>", "longer than"},
      {"<stamp name='a' kind='date' begins='9999-'>(x</stamp>", "Regex: "},
      {"<stamp name='a' kind='date' begins='9999-'>(?'jear'x)</stamp>",
       "\"jear\", which is no field"},
      {"<stamp name='a' kind='day' begins='99-'>x</stamp>", "unknown kind \"day\""},
      {"<stamp name='a' kind='date' begins='99-- x'>x</stamp>", "\"x\", which means nothing"},
      {"<stamp name='a' kind='date' begins='99!'>x</stamp>", "\"99!\", which means nothing"},
      {"<month number='13'>x</month>", "not 1 to 12"},
      {"<month number='1'>ja</month>", "too short or taken"},
      {"<zone names='X' offset='1h'/>", "an offset that is not"},
      {"<zone names='X' offset='+01:00' summer='+02:00' from='13.1.0 02:00' until='1.1.0 02:00'/>",
       "rule of summer time"},
      {"<words kind='time' side='left'>x</words>", "unknown side"},
      {"<unheard/>", "<unheard> is unknown"},
  };
  for (const auto& [entry, reason] : faults) {
    tree_.write("log", "");
    EXPECT_TRUE(findsDateBeside(entry)) << entry;
    EXPECT_THAT(log(), HasSubstr("datetime.xml:3: <")) << entry;
    EXPECT_THAT(log(), HasSubstr(reason)) << entry;
  }
}

TEST_F(DatetimeFile, IsNotUsedWhenItIsNoSuchDocument) {
  const std::vector<std::pair<std::string, std::string>> documents{
      {"<datetime>\n\n<part", "datetime.xml:3: is not used"},
      {"", "is not used"},
      {"<other/>", "holds no <datetime>"},
      {"<!DOCTYPE datetime [<!ENTITY a 'x'>]><datetime/>", "has a document type"},
      {"<!DOCTYPE d [<!ENTITY a SYSTEM 'file:///etc/hostname'>]><datetime>&a;</datetime>",
       "has a document type"},
      {testing::repeated("<datetime>", 5000), "is not used"},
      {"<datetime>" + std::string(2'000'000, ' ') + "</datetime>", "longer than"},
  };
  for (const auto& [document, reason] : documents) {
    tree_.write("log", "");
    EXPECT_FALSE(findsDate(document));
    EXPECT_THAT(log(), HasSubstr(reason)) << document.substr(0, 100);
  }
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
