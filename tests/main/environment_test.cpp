#include "main/environment.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdlib>

#include "conf/conf_store.h"
#include "conf/message_catalog.h"
#include "platform/path_form.h"
#include "support/system.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using ::testing::ExitedWithCode;
using ::testing::HasSubstr;
using testing::setVariable;
using testing::TempTree;

class Environment : public ::testing::Test {
 protected:
  // What initEnvironment() writes to standard error.
  std::string start(Quiet quiet) {
    setVariable("TARNEL_HOME", tree_.root());
    ::testing::internal::CaptureStderr();
    initEnvironment(store_, variables_, quiet);
    return ::testing::internal::GetCapturedStderr();
  }

  TempTree tree_;
  ConfStore store_{tree_.path("etc")};
  std::map<std::string, std::string> variables_;
};

TEST_F(Environment, TellsItsLoggingConfigurationUnlessQuiet) {
  tree_.write("etc/log-cmdline.cfg",
              "rootCategory=WARN,A\nappender.A=FileAppender\n"
              "appender.A.fileName=${TARNEL_HOME}/log\n");
  EXPECT_NE(start(Quiet::No), "");
  EXPECT_EQ(start(Quiet::Yes), "");
  EXPECT_TRUE(std::filesystem::exists(tree_.path("log")));
  EXPECT_EQ(variables_.at("TARNEL_HOME"), pathToText(tree_.root()));
}

TEST_F(Environment, TellsABrokenLoggingConfigurationAlsoWhenQuiet) {
  const auto told = start(Quiet::Yes);
  EXPECT_THAT(told, HasSubstr("log-cmdline.cfg: "));
  EXPECT_PRED1(testing::saysMissing, told);
}

// The catalog is loaded once in a process, hence the process of its own.
TEST_F(Environment, LoadsTheMessageCatalog) {
  tree_.write("etc/system/default/literals.conf",
              "[ENVIRONMENT]\nTEST__S = shipped %s\nOTHER = kept\n[default]\nX = default's own\n");
  tree_.write("etc/system/local/literals.conf", "[ENVIRONMENT]\nTEST__S = changed %s\n");
  setVariable("TARNEL_HOME", tree_.root());
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
