// The built executable started with standard descriptors closed.

#include <gtest/gtest.h>

#include <sstream>

#include "support/process.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Finished;
using sourcetype::testing::Installation;
using sourcetype::testing::repeated;

// `closing` is the shell's word for it, like ">&-".
Finished runWithout(const Installation& server, const std::string& closing, const char* word) {
  return server.runProgram("/bin/sh",
                           {"-c", "exec \"$0\" \"$1\" " + closing, SOURCETYPE_EXECUTABLE, word});
}

struct ClosedCase {
  const char* name;
  const char* closing;
  int status;
};

class ClosedDescriptor : public ::testing::TestWithParam<ClosedCase> {};

TEST_P(ClosedDescriptor, NeverBecomesALogFile) {
  const Installation server;
  server.write("orders.log", repeated("2026-01-02 03:04:05 unit=7 state changed\n", 150));
  // A file that rolls is opened anew again and again.
  server.write("etc/log-cmdline-local.cfg",
               "rootCategory=DEBUG,A\nappender.A=RollingFileAppender\n"
               "appender.A.fileName=${TARNEL_HOME}/log\nappender.A.maxFileSize=200\n"
               "appender.A.layout=PatternLayout\nappender.A.layout.ConversionPattern=record%n\n");
  const auto run = runWithout(server, GetParam().closing, "orders.log");
  EXPECT_EQ(run.status, GetParam().status);
  for (const char* file : {"log", "log.1"}) {
    std::istringstream lines(server.read(file));
    for (std::string line; std::getline(lines, line);) EXPECT_EQ(line, "record") << file;
  }
}

INSTANTIATE_TEST_SUITE_P(All, ClosedDescriptor,
                         ::testing::Values(ClosedCase{"Input", "<&-", 0},
                                           ClosedCase{"Output", ">&-", 2},
                                           ClosedCase{"Full", ">/dev/full", 2},
                                           ClosedCase{"Error", "2>&-", 0}),
                         [](const auto& test) { return test.param.name; });

TEST(SpeedMode, EndsWellWhereItsErrorCannotBeShown) {
  EXPECT_EQ(runWithout(Installation(), "2>&-", "speed").status, 0);
}

// What a shell prints where sourcetype is "$0".
std::string printedBy(const Installation& server, const char* script) {
  return server.runProgram("/bin/sh", {"-c", script, SOURCETYPE_EXECUTABLE}).out;
}

TEST(SpeedMode, NamesTheFilesOfItsDirectoryAndCountsThem) {
  const Installation server;
  server.write("src/scripts/logs/toosmall/a.log", repeated("2026-01-02 03:04:05 a\n", 3));
  server.write("src/scripts/logs/toosmall/b.log", std::string(20, '\0'));
  const auto out = printedBy(server, "mkdir bin && cd bin && exec \"$0\" speed");
  EXPECT_NE(out.find("FILE ../src/scripts/logs/toosmall/a.log \t\t\t\t generic-too_small\n"),
            std::string::npos)
      << out;
  EXPECT_TRUE(out.ends_with(" NUM OF FILES = 2\n")) << out;
}

TEST(LeaksMode, ClassifiesOneFileAgainAndAgain) {
  const Installation server;
  server.write("a.log", "one line\n");
  EXPECT_EQ(printedBy(server, "\"$0\" leaks a.log | head -n 3"),
            "count 0 -- generic-too_small\ncount 100 -- generic-too_small\n"
            "count 200 -- generic-too_small\n");
}

}  // namespace
}  // namespace sourcetype
