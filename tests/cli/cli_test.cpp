// The built executable: what it prints, how it ends and what it writes.

#include <gtest/gtest.h>

#include <map>

#include "platform/path_form.h"
#include "support/process.h"
#include "support/system.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Finished;
using sourcetype::testing::Installation;
using sourcetype::testing::kDevice;
using sourcetype::testing::kHasFifos;
using sourcetype::testing::kMinusOneAsStatus;
using sourcetype::testing::kNamesAreAnyBytes;
using sourcetype::testing::makeFifo;
using sourcetype::testing::repeated;
using sourcetype::testing::saysMissing;

constexpr const char* kLine = "2026-01-02 03:04:05 INFO unit=7 state changed\n";

std::string usage(const std::string& name) {
  return "Usage \n\n    To learn: \n        " + name + " <file> <sourcetype>\n        e.g., " +
         name +
         " wl3_log.log weblogic \n"
         "        To change the attributes for a sourcetype, edit props.conf.\n\n"
         "    To test: \n        " +
         name + " <file>\n\n        " + name +
         " --test --file=<file> [options]\n\n"
         "\t\t options are added to the PropertiesMap passed as input to the classifier, this\n"
         "\t\t is useful for passing 'given_type' in the same way as it is done during indexing\n"
         "\t\t option format: --<field-name>=<value>, eg. --given_type=access_combined\n";
}

bool holds(const std::string& text, std::string_view part) {
  return text.find(part) != std::string::npos;
}

// The value that a printed map gives a key.
std::string printed(const Finished& run, const std::string& key) {
  const auto begin = run.out.find("\t" + key + " -> ");
  if (begin == std::string::npos) return "(absent)";
  const auto value = begin + key.size() + 5;
  return run.out.substr(value, run.out.find('\n', value) - value);
}

// --- Arguments and exit status ---

TEST(CommandLine, NeedsTheInstallationRoot) {
  const Installation server;
  for (const char* home : {"-", ""}) {
    const auto run = server.run({"x.log"}, {}, home);
    EXPECT_EQ(run.status, kMinusOneAsStatus);
    EXPECT_EQ(run.err, "TARNEL_HOME must be set.  Stopping.\n");
    EXPECT_EQ(run.out, "");
  }
}

struct HomeCase {
  const char* name;
  std::string directory;
};

class Home : public ::testing::TestWithParam<HomeCase> {};

TEST_P(Home, MayHaveAnyName) {
  if (!kNamesAreAnyBytes && holds(GetParam().directory, "\n")) GTEST_SKIP();
  const Installation server;
  server.write("orders.log", repeated(kLine, 150));
  const auto home = server.path(GetParam().directory);
  std::filesystem::create_directories(home);
  std::filesystem::rename(server.path("etc"), home / "etc");
  const auto run = server.run({"orders.log"}, {}, pathToText(home));
  EXPECT_EQ(printed(run, "sourcetype"), "orders");
  const auto configuration = pathToText(home / "etc" / "log-cmdline.cfg");
  EXPECT_TRUE(holds(run.err, "Using logging configuration at " + configuration + ".\n")) << run.err;
  EXPECT_TRUE(exists(home / "etc" / "system" / "local" / "props.conf"));
}

INSTANTIATE_TEST_SUITE_P(Names, Home,
                         ::testing::Values(HomeCase{"Blanks", "a b  c"},
                                           HomeCase{"SeparatorAtTheEnd", "home/"},
                                           HomeCase{"TwoLines", "a\nb"},
                                           HomeCase{"NotAscii", "f\u00fcr \u65e5\u672c \U0001F4C4"},
                                           HomeCase{"Long", repeated("0123456789/", 30)}),
                         [](const auto& test) { return test.param.name; });

struct CommandCase {
  const char* name;
  std::vector<std::string> words;
  int status;
  std::string out;
};

class Command : public ::testing::TestWithParam<CommandCase> {};

TEST_P(Command, Prints) {
  const Installation server;
  server.write("a.log", repeated(kLine, 3));
  const auto run = server.run(GetParam().words);
  EXPECT_EQ(run.status, GetParam().status);
  EXPECT_EQ(run.out, GetParam().out);
  EXPECT_TRUE(holds(run.err, "Using logging configuration at " +
                                 pathToText(server.path("etc/log-cmdline.cfg")) + ".\n"));
}

INSTANTIATE_TEST_SUITE_P(
    Modes, Command,
    ::testing::Values(
        CommandCase{"UsageForNoArguments", {}, 0, usage(SOURCETYPE_EXECUTABLE)},
        CommandCase{"NothingForTooManyArguments", {"a.log", "t", "x"}, 0, ""},
        CommandCase{"LearningDoneOrNot", {"none.log", "t"}, 0, "Training on none.log of type t\n"},
        CommandCase{"TheFileNamedText", {"text", "t"}, 0, "Training on text of type t\n"},
        CommandCase{"MissingFileOption",
                    {"--test", "--given_type=access_combined"},
                    1,
                    "adding input option: given_type=access_combined\n"
                    "Missing required option --file=\n" +
                        usage(SOURCETYPE_EXECUTABLE)},
        CommandCase{"OptionWithoutDashes",
                    {"--test", "--file=a.log", "-v"},
                    1,
                    "Unrecognized option; -v\n" + usage(SOURCETYPE_EXECUTABLE)},
        CommandCase{"OptionWithoutValue",
                    {"--test", "--file=a.log", "--v"},
                    1,
                    "Unrecognized option; --v\n" + usage(SOURCETYPE_EXECUTABLE)},
        CommandCase{"GivenTypeIsTheSourcetype",
                    {"--test", "--given_type=t", "--x=a=b", "--file=b.log", "--file=a.log"},
                    0,
                    "adding input option: given_type=t\nadding input option: x=a=b\n"
                    "PROPERTIES OF a.log\nPropertiesMap: {\n\tCHARSET -> auto\n\tgiven_type -> t\n"
                    "\tis_valid -> True\n\tsourcetype -> t\n\tx -> a=b\n}\n"},
        CommandCase{"SettingsOfASourcetype",
                    {"settings", "too_small"},
                    0,
                    "PropertiesMap: {\n\tCHARSET -> auto\n\tPREFIX_SOURCETYPE -> true\n"
                    "\tis_valid -> True\n\tsourcetype -> too_small\n}\n"},
        CommandCase{"ALoneTestOptionIsAFile",
                    {"--test"},
                    0,
                    "PROPERTIES OF --test\nPropertiesMap: {\n\tCHARSET -> auto\n"
                    "\tinvalid_cause -> failed_stat\n\tis_valid -> False\n"
                    "\tsourcetype -> unknown\n}\n"}),
    [](const auto& test) { return test.param.name; });

TEST(ManyFiles, ReadsNamesAndPrintsAVerdictForEach) {
  const Installation server;
  server.write("a.log", repeated(kLine, 3));
  EXPECT_EQ(server.run({"manyfiles"}).out, "");
  const auto run = server.run({"manyfiles"}, "none.log\na.log");
  EXPECT_EQ(run.out,
            "FILENAME: none.log\nClassified\tnone.log\tfailed_stat\n"
            "FILENAME: a.log\nClassified\ta.log\tgeneric-too_small\n");
}

TEST(TextMode, ClassifiesTheTextAndNotTheFile) {
  const Installation server;
  const auto run =
      server.run({"text", pathToText(server.path("no/where/orders.log")), repeated(kLine, 150)});
  EXPECT_EQ(printed(run, "sourcetype"), "orders");
  EXPECT_EQ(printed(run, "is_valid"), "True");
}

TEST(SpeedMode, TimesADirectoryOrSaysWhyNot) {
  const Installation server;
  const auto run = server.run({"speed"});
  EXPECT_TRUE(holds(run.err, "opendir: ")) << run.err;
  EXPECT_TRUE(saysMissing(run.err)) << run.err;
}

// --- Classification ---

TEST(Classification, GivesAnUnknownFileANewSourcetypeOnce) {
  const Installation server;
  server.write("weblogic.log", repeated(kLine, 150));
  const auto first = server.run({"weblogic.log"});
  EXPECT_EQ(printed(first, "sourcetype"), "weblogic");
  EXPECT_EQ(printed(first, "is_valid"), "True");
  EXPECT_EQ(printed(first, "SHOULD_LINEMERGE"), "False");
  EXPECT_EQ(
      server.read("etc/system/local/props.conf"),
      "[weblogic]\nMAX_TIMESTAMP_LOOKAHEAD = 39\nSHOULD_LINEMERGE = False\nis_valid = True\n");
}

TEST(Classification, ProposesWhereTimestampsStand) {
  const Installation server;
  std::string text;
  for (int i = 0; i < 150; ++i) {
    text += "192.168.10." + std::to_string(i) +
            " - - [10/Oct/2020:13:55:" + std::to_string(10 + i % 50) +
            " +0200] \"GET /a HTTP/1.1\" took 17\n";
  }
  server.write("hits.log", text);
  const auto first = server.run({"hits.log"});
  EXPECT_EQ(printed(first, "TIME_PREFIX"), R"(\[)");
  EXPECT_EQ(printed(first, "MAX_TIMESTAMP_LOOKAHEAD"), "65");
  EXPECT_EQ(printed(first, "SHOULD_LINEMERGE"), "False");
}

TEST(Classification, NumbersASecondSourcetypeOfTheSameName) {
  const Installation server;
  server.write("etc/system/local/props.conf", "[weblogic]\n[weblogic_a]\n[weblogic-3]\n");
  server.write("weblogic.log", repeated(kLine, 150));
  EXPECT_EQ(printed(server.run({"weblogic.log"}), "sourcetype"), "weblogic-4");
}

TEST(Classification, NamesSmallFilesApart) {
  const Installation server;
  const auto file = pathToText(std::filesystem::path("dir.d") / "orders.log");
  server.write(file, repeated(kLine, 99));
  const auto first = server.run({file});
  EXPECT_EQ(printed(first, "sourcetype"), "orders-too_small");
  EXPECT_EQ(first.out, server.run({file}).out);
  server.write("etc/apps/x/local/props.conf", "[too_small]\nPREFIX_SOURCETYPE = no\n");
  EXPECT_EQ(printed(server.run({file}), "sourcetype"), "too_small");
}

TEST(Classification, GoesByTheSourceStanzaUnlessTheInputSaysOtherwise) {
  const Installation server;
  server.write("a.log", repeated(kLine, 150));
  server.write("etc/system/local/props.conf",
               "[source::...*.log]\nsourcetype = A\n[A]\nfrom = stanza\n");
  const auto run = server.run({"a.log"});
  EXPECT_EQ(printed(run, "sourcetype"), "A");
  EXPECT_EQ(printed(run, "from"), "stanza");
  const std::vector<std::string> given{"--test", "--file=a.log", "--given_type=B"};
  EXPECT_EQ(printed(server.run(given), "sourcetype"), "B");
  server.write("etc/system/local/props.conf", "[source::...*.log]\nsourcetype = PreProcess\n");
  EXPECT_EQ(printed(server.run(given), "sourcetype"), "PreProcess");
}

// What is printed has a line for each file and nothing that could be taken for another one.
TEST(Classification, IgnoresASourcetypeThatCouldNotBeStored) {
  const Installation server;
  server.write("a.log", repeated(kLine, 150));
  for (const char* const stanza : {"source::...a.log", "rule::a"}) {
    server.write("etc/system/local/props.conf",
                 "[" + std::string(stanza) + "]\nsourcetype = A\\\n\tB\nMORE_THAN_1 = .\n");
    const auto run = server.run({"manyfiles"}, "a.log\n");
    EXPECT_EQ(run.out, "FILENAME: a.log\nClassified\ta.log\tunknown\n");
    EXPECT_TRUE(holds(run.err, "it holds a control character")) << run.err;
  }
  const auto given = server.run({"--test", "--file=a.log", "--given_type=B\nC"});
  EXPECT_EQ(printed(given, "sourcetype"), "generic");
}

TEST(Classification, DoesNotLearnWhereConfigurationForbidsIt) {
  const Installation server;
  server.write("a.log", repeated(kLine, 150));
  server.write("etc/system/local/props.conf", "[source::...a.log]\nLEARN_SOURCETYPE = 0\n");
  EXPECT_EQ(printed(server.run({"a.log"}), "sourcetype"), "(absent)");
  EXPECT_EQ(server.read("etc/system/local/props.conf"),
            "[source::...a.log]\nLEARN_SOURCETYPE = 0\n");
}

TEST(Classification, ReadsTheCharsetOfAByteOrderMark) {
  const Installation server;
  std::string utf16("\xFF\xFE");
  for (const char c : repeated(kLine, 150)) utf16 += {c, '\0'};
  server.write("orders.log", utf16);
  const auto run = server.run({"orders.log"});
  EXPECT_EQ(printed(run, "CHARSET"), "UTF-16LE");
  EXPECT_EQ(printed(run, "sourcetype"), "orders");
}

struct InvalidCase {
  const char* name;
  const char* file;
  const char* cause;
};

class InvalidFile : public ::testing::TestWithParam<InvalidCase> {};

TEST_P(InvalidFile, IsReportedWithItsCause) {
  const Installation server;
  std::filesystem::create_directory(server.path("directory"));
  if (GetParam().file == std::string_view("fifo")) {
    if (!kHasFifos) GTEST_SKIP();
    makeFifo(server.path("fifo"));
  }
  server.write("binary", repeated("123456789", 10) + std::string(10, '\0'));
  server.write("a/b", "");
  const auto run = server.run({GetParam().file});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(printed(run, "is_valid"), "False");
  EXPECT_EQ(printed(run, "invalid_cause"), GetParam().cause);
  EXPECT_EQ(printed(run, "sourcetype"), "unknown");
}

INSTANTIATE_TEST_SUITE_P(Causes, InvalidFile,
                         ::testing::Values(InvalidCase{"Directory", "directory",
                                                       "not_regular_file"},
                                           InvalidCase{"Fifo", "fifo", "not_regular_file"},
                                           InvalidCase{"Device", kDevice, "not_regular_file"},
                                           InvalidCase{"Missing", "missing", "failed_stat"},
                                           InvalidCase{"BelowAFile", "a/b/c", "failed_stat"},
                                           InvalidCase{"TenPercentNul", "binary", "binary"}),
                         [](const auto& test) { return test.param.name; });

// The last chunk that is read ends with the line that reaches the limit. What follows it is no
// text.
TEST(InvalidFile, IsFoundWithinTwentyThousandLines) {
  const Installation server;
  const std::string some = repeated("\xFF\n", 3900) + repeated("a\n", 16098);
  const std::string binary(10000, '\xFF');
  server.write("reached", some + "a\na\n" + binary);
  server.write("one_less", some + "aaa\n" + binary);
  EXPECT_EQ(printed(server.run({"reached"}), "invalid_cause"), "(absent)");
  EXPECT_EQ(printed(server.run({"one_less"}), "invalid_cause"), "binary");
}

TEST(InvalidFile, OfAGivenTypeCannotBeReadEither) {
  const Installation server;
  const auto run = server.run({"--test", std::string("--file=") + kDevice, "--given_type=t"});
  EXPECT_EQ(printed(run, "invalid_cause"), "cannot_read");
}

TEST(InvalidFile, NeedNotBeThereWhenNothingAboutItIsOpen) {
  const Installation server;
  server.write("etc/system/local/props.conf",
               "[source::...gone]\nsourcetype=t\nNO_BINARY_CHECK=yes\nCHARSET=UTF-8\n");
  const auto run = server.run({"gone"});
  EXPECT_EQ(printed(run, "sourcetype"), "t");
  EXPECT_EQ(printed(run, "is_valid"), "True");
  EXPECT_EQ(printed(run, "NO_BINARY_CHECK"), "true");
}

// --- Proposed settings of new sourcetypes ---

TEST(NewSourcetype, OfLongEventsGetsTheExpressionTheyBeginWith) {
  const Installation server;
  server.write("orders.log", repeated("<order> accepted\n  item\n    price\n", 400));
  const auto run = server.run({"orders.log"});
  EXPECT_EQ(printed(run, "SHOULD_LINEMERGE"), "True");
  EXPECT_EQ(printed(run, "BREAK_ONLY_BEFORE"), R"(^<[a-zA-Z](?:[_-]?\w)*>\s+[a-zA-Z](?:[_-]?\w)*)");
  EXPECT_TRUE(holds(server.read("etc/system/local/props.conf"), "\nBREAK_ONLY_BEFORE = ^<"));
}

TEST(NewSourcetype, GetsNoExpressionThatDoesNotCompile) {
  const Installation server;
  server.write("users.log", repeated("SRV-123456789\\web user0 2026-01-02 03:04:05 a\n", 150));
  const auto run = server.run({"users.log"});
  EXPECT_EQ(printed(run, "TIME_PREFIX"), "(absent)");
  EXPECT_NE(printed(run, "MAX_TIMESTAMP_LOOKAHEAD"), "(absent)");
}

// Rows under a header; the numbers are other ones for each `seed`.
std::string table(const std::string& header, int rows, int seed) {
  std::string text = header + "\n";
  for (int i = 0; i < rows; ++i) {
    const auto number = std::to_string(seed + i);
    text += number + ",name" + number + ",town\n";
  }
  return text;
}

TEST(DelimitedFiles, OfEqualColumnsShareASourcetypeAndOthersGetTheirOwn) {
  for (const int rows : {50, 150}) {  // too small to be recognised, and not
    const Installation server;
    server.write("a.csv", table("id,name,town", rows, 0));
    server.write("b.csv", table("key,who,where", rows, 1000));
    server.write("c.csv", table("key,who,where", rows, 2000));
    const auto typeOf = [&](const char* file) { return printed(server.run({file}), "sourcetype"); };
    const auto first = server.run({"a.csv"});
    EXPECT_EQ(printed(first, "REPORT-AutoHeader"), "AutoHeader-1");
    const auto a = printed(first, "sourcetype");
    const auto b = typeOf("b.csv");
    EXPECT_NE(a, b);
    EXPECT_EQ(typeOf("c.csv"), b);
    EXPECT_EQ(typeOf("a.csv"), a);
    EXPECT_EQ(typeOf("b.csv"), b);
    EXPECT_EQ(server.read("etc/system/local/transforms.conf"),
              "[AutoHeader-1]\nDELIMS = \",\"\nFIELDS = \"id\", \"name\", \"town\"\n"
              "\n[AutoHeader-2]\nDELIMS = \",\"\nFIELDS = \"key\", \"who\", \"where\"\n");
    EXPECT_EQ(printed(server.run({"settings", b}), "REPORT-AutoHeader"), "AutoHeader-2");
    if (rows < 100) continue;  // no models
    EXPECT_EQ(server.run({"manyfiles"}, "b.csv").out,
              "FILENAME: b.csv\nClassified\tb.csv\t" + b + "\n");
  }
}

TEST(DelimitedFiles, WithAByteOrderMarkAreTheSameWhoeverNamesTheCharset) {
  const Installation server;
  server.write("people.csv", "\uFEFF" + table("id,name,town", 150, 0));
  EXPECT_EQ(printed(server.run({"people.csv"}), "sourcetype"), "csv");
  // Its stanza now has CHARSET = UTF-8.
  const auto again = server.run({"--test", "--file=people.csv", "--given_type=csv"});
  EXPECT_EQ(printed(again, "sourcetype"), "csv");
  EXPECT_EQ(server.read("etc/system/local/transforms.conf"),
            "[AutoHeader-1]\nDELIMS = \",\"\nFIELDS = \"id\", \"name\", \"town\"\n");
}

TEST(DelimitedFiles, OfEqualColumnsAreOneSourcetypeHoweverTheirRowsDiffer) {
  const Installation server;
  const std::string header = "id,when,text\n";
  server.write("a.csv", header + repeated("1,never,quiet\n", 150));
  server.write("b.csv",
               header + repeated("<<service>>,Jan 12 10:11:12 2024,(late)!\n  at;,;,;\n", 150));
  server.write("c.csv", header + repeated("{up}:,#?;,[*]\n", 2000));
  std::string names;
  std::string expected;
  for (const std::string file : {"a.csv", "b.csv", "c.csv"}) {
    const auto first = server.run({file}).out;
    EXPECT_TRUE(holds(first, "sourcetype -> csv\n")) << first;
    EXPECT_EQ(server.run({file}).out, first);
    names += file + "\n";
    expected += "FILENAME: " + file + "\nClassified\t" + file + "\tcsv\n";
  }
  EXPECT_EQ(server.run({"manyfiles"}, names).out, expected);
  EXPECT_EQ(server.read("etc/system/local/props.conf"),
            "[csv]\nKV_MODE = none\nREPORT-AutoHeader = AutoHeader-1\nSHOULD_LINEMERGE = False\n"
            "is_valid = True\n");
  EXPECT_FALSE(holds(server.read("etc/apps/learned/local/sourcetypes.conf"), "= csv-"));
}

TEST(DelimitedFiles, AreLookedAtWhereConfigurationSaysSo) {
  const Installation server;
  server.write("a.txt", table("id,name,town", 50, 0));
  server.write("a.csv", repeated("123456789,", 10) + std::string(12, '\0'));
  EXPECT_EQ(printed(server.run({"a.txt"}), "REPORT-AutoHeader"), "(absent)");
  EXPECT_EQ(printed(server.run({"a.csv"}), "invalid_cause"), "binary");
  server.write("off/b.csv", table("id,name,town", 50, 0));
  server.write("etc/system/local/props.conf", "[source::off...]\nCHECK_FOR_HEADER = false\n");
  EXPECT_EQ(printed(server.run({pathToText(std::filesystem::path("off") / "b.csv")}),
                    "REPORT-AutoHeader"),
            "(absent)");
  EXPECT_FALSE(std::filesystem::exists(server.path("etc/system/local/transforms.conf")));
  const auto run = server.run({"--test", "--file=a.txt", "--CHECK_FOR_HEADER=1"});
  EXPECT_EQ(printed(run, "KV_MODE"), "none");
  server.write("B.CSV", table("id,name,town", 50, 0));
  EXPECT_EQ(printed(server.run({"B.CSV"}), "KV_MODE"), "none");
}

// --- Rules and learned models ---

// Lines of two kinds of log; the numbers are other ones in each half.
std::string accessLog(int first, int count) {
  std::string text;
  for (int i = first; i < first + count; ++i) {
    text += "10.0.0." + std::to_string(i) + " - GET /index.html?page=" + std::to_string(i) +
            " HTTP/1.1 200 " + std::to_string(i * 37) + "\n";
  }
  return text;
}

std::size_t storedModels(const Installation& server) {
  const auto file = server.path("etc/apps/learned/local/sourcetypes.conf");
  if (!std::filesystem::exists(file)) return 0;
  const auto text = server.read("etc/apps/learned/local/sourcetypes.conf");
  std::size_t count = 0;
  for (auto at = text.find("_source ="); at != text.npos; at = text.find("_source =", at + 1)) {
    ++count;
  }
  return count;
}

TEST(Learning, OneHalfRecognisesTheOther) {
  const Installation server;
  server.write("first.log", accessLog(0, 150));
  server.write("second.log", accessLog(150, 150));
  server.write("orders.log", repeated(kLine, 150));
  EXPECT_EQ(server.run({"first.log", "web"}).out, "Training on first.log of type web\n");
  const auto second = server.run({"second.log"});
  EXPECT_EQ(printed(second, "sourcetype"), "web");
  EXPECT_EQ(printed(second, "is_valid"), "True");
  EXPECT_EQ(printed(server.run({"orders.log"}), "sourcetype"), "orders");
  EXPECT_EQ(storedModels(server), 2U);
  server.write("renamed.txt", repeated(kLine, 120));
  EXPECT_EQ(printed(server.run({"renamed.txt"}), "sourcetype"), "orders");
}

TEST(Learning, RecordsTheSettingsThatExist) {
  const Installation server;
  server.write("etc/log-cmdline-local.cfg", "category.ConfObjectManagerDB = DEBUG\n");
  server.write("etc/apps/a/local/sourcetypes.conf", "[default]\nmaxDist = 7\n");
  server.write("orders.log", repeated(kLine, 150));
  const auto run = server.run({"orders.log", "orders"});
  EXPECT_TRUE(holds(run.err, "\nExisting:\nPropertiesMap: {\n\tmaxDist -> 7\n}\n")) << run.err;
}

TEST(Learning, UnderANameThatCannotBeStoredIsRefused) {
  const Installation server;
  server.write("a.log", repeated(kLine, 150));
  for (const auto& [sourcetype, reason] : std::map<std::string, const char*>{
           {"", "it is empty"}, {" t", "blank"}, {"t\t", "blank"}, {"t\nu", "control character"}}) {
    const auto run = server.run({"a.log", sourcetype});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(run.out.find("Training on a.log of type "), 0U);
    EXPECT_TRUE(holds(run.err, "ERROR") && holds(run.err, reason)) << run.err;
    EXPECT_EQ(storedModels(server), 0U);
  }
}

TEST(Learning, FromATrainingFileForgetsWhatWasLearnedBefore) {
  const Installation server;
  server.write("a.log", accessLog(0, 150));
  server.write("b.log", repeated(kLine, 150));
  server.run({"b.log", "before"});
  server.write("training.conf", "[web]\n1 = a.log\n_2 = b.log\n3 = none.log\n");
  const auto run = server.run({"train"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(holds(run.err, "none.log")) << run.err;
  EXPECT_EQ(storedModels(server), 1U);
  EXPECT_EQ(printed(server.run({"text", "x", accessLog(150, 150)}), "sourcetype"), "web");
  EXPECT_EQ(printed(server.run({"b.log"}), "sourcetype"), "generic");
}

TEST(Learning, FromNoTrainingFileSetsAsideWhatWasLearnedBefore) {
  const Installation server;
  server.write("a.log", accessLog(0, 150));
  server.run({"a.log", "web"});
  const auto learned = server.read("etc/apps/learned/local/sourcetypes.conf");
  const auto run = server.run({"train"});
  EXPECT_EQ(run.status, 0);
  EXPECT_TRUE(holds(run.err, pathToText(server.path("training.conf")))) << run.err;
  const std::string old = "etc/apps/learned/local/sourcetypes.conf.old";
  EXPECT_TRUE(holds(run.err, pathToText(server.path(old)) + ": 1."));
  EXPECT_EQ(storedModels(server), 0U);
  server.run({"train"});
  EXPECT_EQ(server.read(old), learned);
}

TEST(Learning, FromATrainingFileKeepsWhatAFileSaidThatCannotBeReadNow) {
  const Installation server;
  server.write("a.log", accessLog(0, 150));
  server.write("b.log", repeated(kLine, 150));
  server.write("training.conf", "[web]\n1 = a.log\n[units]\n1 = b.log\n");
  server.run({"train"});
  std::filesystem::remove(server.path("b.log"));
  std::filesystem::create_directory(server.path("b.log"));
  for (int i = 0; i < 3; ++i) {
    const auto run = server.run({"train"});
    EXPECT_TRUE(holds(run.err, "What was learned of b.log before is kept.")) << run.err;
    EXPECT_EQ(storedModels(server), 2U);
  }
  EXPECT_EQ(printed(server.run({"text", "x", repeated(kLine, 150)}), "sourcetype"), "units");
}

TEST(Rule, ComesBeforeModelsAndADelayedOneAfterThem) {
  const Installation server;
  server.write("a.log", accessLog(0, 150));
  server.write("etc/system/local/props.conf",
               "[delayedrule::d]\nsourcetype = D\nMORE_THAN_90 = HTTP/\n[D]\nfrom = stanza\n");
  const auto delayed = server.run({"a.log"});
  EXPECT_EQ(printed(delayed, "sourcetype"), "D");
  EXPECT_EQ(printed(delayed, "from"), "stanza");
  EXPECT_EQ(storedModels(server), 0U);
  server.run({"a.log", "web"});
  EXPECT_EQ(printed(server.run({"a.log"}), "sourcetype"), "web");
  server.write("etc/system/local/props.conf",
               "[rule::r]\nsourcetype = R\nMORE_THAN_90 = HTTP/\nLESS_THAN_0 = POST\n");
  EXPECT_EQ(printed(server.run({"a.log"}), "sourcetype"), "R");
}

TEST(Rule, CollectsThreeModelsAtMost) {
  const Installation server;
  server.write("etc/system/local/props.conf", "[rule::r]\nsourcetype = R\nMORE_THAN_90 = ^\n");
  server.write("a.log", repeated("alpha,\n", 150));
  server.write("b.log", repeated("beta;\n", 1000) + repeated("gamma:\n", 1000) +
                            repeated("delta/\n", 1000) + repeated("eta|\n", 1000));
  for (const char* file : {"a.log", "b.log", "b.log"}) {
    EXPECT_EQ(printed(server.run({file}), "sourcetype"), "R");
  }
  EXPECT_EQ(storedModels(server), 3U);
}

TEST(Rule, LearnsNothingWhereConfigurationForbidsIt) {
  const Installation server;
  server.write("a.log", accessLog(0, 150));
  for (const char* setting :
       {"[R]\nLEARN_MODEL = false\n", "[source::...]\nLEARN_SOURCETYPE=0\n"}) {
    server.write("etc/system/local/props.conf",
                 std::string("[rule::r]\nsourcetype = R\nMORE_THAN_90 = HTTP\n") + setting);
    EXPECT_EQ(printed(server.run({"a.log"}), "sourcetype"), "R");
    EXPECT_EQ(storedModels(server), 0U);
  }
}

// --- What hostile or broken surroundings do ---

TEST(HostileName, CannotBecomeARuleOrSettingsForOtherFiles) {
  if (!kNamesAreAnyBytes) GTEST_SKIP();
  const Installation server;
  // Contents that have nothing in common, so that none is recognised as another.
  const std::map<const char*, const char*> files{{"rule::x", "alpha, beta\n"},
                                                 {"x.source::*a", "gamma=delta;\n"},
                                                 {" two\nlines]x=[y.log", "[eta] (theta)\n"},
                                                 {"\xFF\xFE.log", "iota/kappa|\n"}};
  for (const auto& [name, line] : files) {
    server.write(name, repeated(line, 150));
    const auto run = server.run({name});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(printed(run, "is_valid"), "True") << run.out << run.err;
  }
  const auto written = server.read("etc/system/local/props.conf");
  EXPECT_FALSE(holds(written, "::")) << written;
  EXPECT_TRUE(holds(written, "[two_lines]x=[y]\n")) << written;
}

TEST(HostileName, OfFourThousandBytesIsAnswered) {
  const Installation server;
  const auto run = server.run({std::string(4096, 'x')});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(printed(run, "invalid_cause"), "failed_stat");
}

TEST(HostileName, WithABarIsOneName) {
  const Installation server;
  server.write("etc/system/local/props.conf", "[apple]\nTIME_PREFIX = nowhere\n");
  const auto run = server.run({"text", "abc|apple.log", repeated(kLine, 150)});
  EXPECT_EQ(printed(run, "sourcetype"), "abc|apple");
  EXPECT_EQ(printed(run, "MAX_TIMESTAMP_LOOKAHEAD"), "39");
}

TEST(UnwritableTree, OfModelsGetsNoStanzaEither) {
  const Installation server;
  server.write("etc/apps/learned", "a file in the place of the directory");
  server.write("orders.log", repeated(kLine, 150));
  server.write("etc/system/local/props.conf", "[mine]\n");
  for (int i = 0; i < 2; ++i) {
    const auto run = server.run({"orders.log"});
    EXPECT_EQ(run.status, 0);
    EXPECT_EQ(printed(run, "sourcetype"), "orders");
    EXPECT_TRUE(holds(run.err, "ERROR")) << run.err;
    EXPECT_EQ(server.read("etc/system/local/props.conf"), "[mine]\n");
  }
}

TEST(UnwritableTree, StillClassifies) {
  const Installation server;
  server.write("etc/system/local", "a file in the place of the directory");
  server.write("orders.log", repeated(kLine, 150));
  const auto run = server.run({"orders.log"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(printed(run, "sourcetype"), "orders");
  EXPECT_TRUE(holds(run.err, "ERROR")) << run.err;
  EXPECT_TRUE(holds(run.err, "Not a directory")) << run.err;
  EXPECT_EQ(storedModels(server), 0U);
}

TEST(BrokenConfiguration, NamesTheShippedFilesThatAreMissing) {
  const Installation server;
  server.write("orders.log", repeated(kLine, 150));
  const auto literals = server.path("etc/system/default/literals.conf").make_preferred();
  const auto datetime = server.path("etc/datetime.xml").make_preferred();
  std::filesystem::remove(literals);
  std::filesystem::remove(datetime);
  const auto run = server.run({"orders.log"});
  EXPECT_EQ(printed(run, "sourcetype"), "orders");
  EXPECT_TRUE(holds(run.err, pathToText(literals) + " is missing")) << run.err;
  EXPECT_TRUE(holds(run.err, "Cannot read " + pathToText(datetime))) << run.err;
}

TEST(BrokenConfiguration, IsReportedAndSkipped) {
  const Installation server;
  server.write("etc/system/local/props.conf", "[unclosed\nword\n[default]\nk = v\n");
  server.write("etc/log-cmdline.cfg", "nonsense");
  server.write("orders.log", repeated(kLine, 150));
  const auto run = server.run({"orders.log"});
  EXPECT_EQ(run.status, 0);
  EXPECT_EQ(printed(run, "k"), "v");
  EXPECT_TRUE(holds(run.err, "line 1: Stanza header is missing terminator: [unclosed")) << run.err;
}

TEST(BrokenConfiguration, OfExpressionsIsReported) {
  const Installation server;
  server.write("etc/system/local/props.conf",
               "[source::...orders(*]\nk = v\n[mine]\nBREAK_ONLY_BEFORE = *\nTIME_PREFIX = [\n"
               "TIME_FORMAT = %H:%!\n");
  server.write("orders.log", repeated(kLine, 150));
  const auto run = server.run({"--test", "--file=orders.log", "--given_type=mine"});
  for (const auto* where : {"(in [source::...orders(*])", "(in [mine] BREAK_ONLY_BEFORE)",
                            "(in [mine] TIME_PREFIX)", "(in [mine] TIME_FORMAT)"}) {
    EXPECT_TRUE(holds(run.err, where)) << where << '\n' << run.err;
  }
}

}  // namespace
}  // namespace sourcetype
