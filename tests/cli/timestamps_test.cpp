// The program that shows timestamps, as administrators run it.

#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "support/process.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Finished;
using sourcetype::testing::Installation;

class Timestamps : public ::testing::Test {
 protected:
  Finished run(const std::vector<std::string>& words, std::string_view input = {},
               const std::string& home = ".") const {
    return server_.runProgram(TIMESTAMPS_EXECUTABLE, words, input, home);
  }

  Installation server_;
};

TEST_F(Timestamps, PrintsOneLineForEachLine) {
  server_.write("a.log", "x 2024-05-06 10:00:00.250 y\r\nnothing\ndate=2024-05-06 time=10:00:00");
  const auto finished = run({"a.log"});
  EXPECT_EQ(finished.status, 0);
  EXPECT_EQ(finished.out,
            "2\t25\t-1\t-1\t2024-05-06T10:00:00.25Z\n-\n21\t29\t5\t15\t2024-05-06T10:00:00Z\n");
  EXPECT_EQ(finished.err, "");
}

TEST_F(Timestamps, TakesSettingsFromASourcetypeAndFromOptions) {
  server_.write("etc/system/local/props.conf", "[t]\nTIME_PREFIX = end=\nTZ = +02:00\n");
  const std::string line = "start=May 6 09:00:00 end=May 6 10:00:00\n";
  EXPECT_EQ(run({"--sourcetype", "t", "--reference", "2020-01-01", "-"}, line).out,
            "25\t39\t-1\t-1\t2019-05-06T08:00:00Z\n");
  EXPECT_EQ(run({"--sourcetype", "t", "--set", "TZ=-01:00", "--reference", "2020-01-01T00:00:00Z"},
                line, "-")
                .status,
            1);
  EXPECT_EQ(run({"--sourcetype", "t", "--set", "TZ=-01:00", "--reference", "2020-01-01", "--home",
                 pathToText(server_.root())},
                line, "-")
                .out,
            "25\t39\t-1\t-1\t2019-05-06T11:00:00Z\n");
}

TEST_F(Timestamps, EndsWithAStatusThatTellsWhatWentWrong) {
  for (const char* word : {"--unheard", "--set", "--reference"}) EXPECT_EQ(run({word}).status, 1);
  EXPECT_EQ(run({"--set", "novalue"}).status, 1);
  EXPECT_EQ(run({"--reference", "2024-02-30"}).status, 1);
  EXPECT_EQ(run({"a", "b"}).status, 1);
  const auto missing = run({"none.log"});
  EXPECT_EQ(missing.status, 2);
  EXPECT_NE(missing.err.find("none.log: No such file"), std::string::npos) << missing.err;
  EXPECT_EQ(run({"etc"}).status, 2);
}

}  // namespace
}  // namespace sourcetype
