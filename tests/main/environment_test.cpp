#include "main/environment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "conf/conf_store.h"
#include "conf/message_catalog.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using ::testing::ExitedWithCode;
using ::testing::HasSubstr;
using testing::TempTree;

constexpr int kMinusOneAsStatus = 255;

class Environment : public ::testing::Test {
 protected:
  // What initEnvironment() writes to standard error.
  std::string start(Quiet quiet) {
    ::setenv("TARNEL_HOME", tree_.root().c_str(), 1);
    ::testing::internal::CaptureStderr();
    initEnvironment(store_, variables_, quiet);
    return ::testing::internal::GetCapturedStderr();
  }

  TempTree tree_;
  ConfStore store_{tree_.path("etc")};
  std::map<std::string, std::string> variables_;
};

TEST_F(Environment, EndsTheProcessWithoutARoot) {
  constexpr const char* kMessage = "^TARNEL_HOME must be set\\.  Stopping\\.\n$";
  ::unsetenv("TARNEL_HOME");
  EXPECT_EXIT(initEnvironment(store_, variables_), ExitedWithCode(kMinusOneAsStatus), kMessage);
  ::setenv("TARNEL_HOME", "", 1);
  EXPECT_EXIT(initEnvironment(store_, variables_), ExitedWithCode(kMinusOneAsStatus), kMessage);
}

TEST_F(Environment, TellsItsLoggingConfigurationUnlessQuiet) {
  const auto configuration = tree_.write("etc/log-cmdline.cfg", "rootCategory=WARN\n");
  EXPECT_EQ(start(Quiet::No), "Using logging configuration at " + configuration.string() + ".\n");
  EXPECT_EQ(start(Quiet::Yes), "");
  EXPECT_EQ(variables_.at("TARNEL_HOME"), tree_.root().string());
}

TEST_F(Environment, TellsABrokenLoggingConfigurationAlsoWhenQuiet) {
  EXPECT_THAT(start(Quiet::Yes), HasSubstr("log-cmdline.cfg: No such file"));
}

TEST_F(Environment, GivesTheLoggingConfigurationTheRoot) {
  tree_.write("etc/log-cmdline.cfg",
              "rootCategory=WARN,A\nappender.A=FileAppender\n"
              "appender.A.fileName=${TARNEL_HOME}/log\n");
  EXPECT_EQ(start(Quiet::Yes), "");
  EXPECT_TRUE(std::filesystem::exists(tree_.path("log")));
}

// The catalog is loaded once in a process, hence the process of its own.
TEST_F(Environment, LoadsTheMessageCatalog) {
  tree_.write("etc/system/default/literals.conf",
              "[ENVIRONMENT]\nTEST__S = shipped %s\nOTHER = kept\n[default]\nX = default's own\n");
  tree_.write("etc/system/local/literals.conf", "[ENVIRONMENT]\nTEST__S = changed %s\n");
  ::setenv("TARNEL_HOME", tree_.root().c_str(), 1);
  const auto textsAreLoaded = [&] {
    initEnvironment(store_, variables_);
    return lookupMessage("ENVIRONMENT_TEST__%s") == "changed %s" &&
           lookupMessage("ENVIRONMENT_OTHER") == "kept" &&
           lookupMessage("DEFAULT_X").starts_with("String not found") &&
           messageCatalog(store_).lookup("ENVIRONMENT_X").starts_with("String not found");
  };
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a process started anew, not a fork
  EXPECT_EXIT(std::exit(textsAreLoaded() ? 0 : 1), ExitedWithCode(0), "");
}

}  // namespace
}  // namespace sourcetype
