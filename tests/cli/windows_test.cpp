// The built executable where only Windows can bring it.

#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "platform/windows_api.h"
#include "support/process.h"

namespace sourcetype {
namespace {

using sourcetype::testing::Installation;
using sourcetype::testing::repeated;

bool saysCause(const Installation& server, const std::string& file, const std::string& cause) {
  const auto run = server.run({file});
  return run.out.find("\tinvalid_cause -> " + cause + "\n") != std::string::npos;
}

TEST(LogFile, OpenedExclusivelyCannotBeRead) {
  const Installation server;
  const auto file = server.write("a.log", repeated("line\n", 150));
  const HANDLE owner =
      CreateFileW(file.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(owner, INVALID_HANDLE_VALUE);
  EXPECT_TRUE(saysCause(server, "a.log", "cannot_read"));
  CloseHandle(owner);
}

TEST(LogFile, BeingWrittenIsClassified) {
  const Installation server;
  const auto file = server.write("orders.log", repeated("2026-01-02 03:04:05 line\n", 150));
  const HANDLE writer =
      CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
  ASSERT_NE(writer, INVALID_HANDLE_VALUE);
  EXPECT_NE(server.run({"orders.log"}).out.find("sourcetype -> orders\n"), std::string::npos);
  CloseHandle(writer);
}

TEST(Argument, IsNoPattern) {
  const Installation server;
  server.write("a.log", "");
  EXPECT_EQ(server.run({"*.log"}).out.substr(0, 20), "PROPERTIES OF *.log\n");
}

TEST(Argument, MayBeAnExtendedPath) {
  const Installation server;
  const auto file = server.write("orders.log", repeated("2026-01-02 03:04:05 line\n", 150));
  const std::string prefix = R"(\\?\)";
  const auto run = server.run({prefix + pathToText(file)}, {}, prefix + pathToText(server.root()));
  EXPECT_NE(run.out.find("sourcetype -> orders\n"), std::string::npos) << run.out << run.err;
}

TEST(DeviceName, IsNoLogFile) {
  const Installation server;
  EXPECT_TRUE(saysCause(server, "NUL", "not_regular_file"));
  for (const char* name : {"CON", "COM1", R"(\\.\pipe\none)"}) {
    EXPECT_TRUE(saysCause(server, name, "not_regular_file") ||
                saysCause(server, name, "failed_stat"))
        << name;
  }
}

}  // namespace
}  // namespace sourcetype
