// The texts of codes are compared with their files in fuzz/catalog_fuzz.cpp; that the shipped ones
// are complete is checked by tools/check_messages.pl.
#include "conf/message_catalog.h"

#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using testing::TempTree;

constexpr const char* kFallback = "String not found in literals.conf: ";

TEST(LogMessage, ShowsTheTextAsItIsAndItsArgumentsHarmless) {
  const TempTree tree;
  const LogCategory category("Catalog");
  const auto configuration =
      tree.write("x.cfg", "rootCategory=WARN,A\nappender.A=FileAppender\nappender.A.fileName=" +
                              pathToText(tree.path("log")) + "\nappender.A.layout=PatternLayout\n");
  ASSERT_EQ(configureLogging(configuration, {}), "");
  logMessage(LogLevel::Warn, category, "TEST_CODE__%s_%d", "x", 7);
  logMessage(LogLevel::Info, category, "TEST_CODE__%s_%d", "not asked for", 8);
  messageCatalog().add("TEST", "TEXT__S", "first %s\nsecond");
  logMessage(LogLevel::Warn, category, "TEST_TEXT__%s", "a\nb");
  EXPECT_EQ(tree.read("log"),
            std::string(kFallback) + "TEST_CODE Arguments: _x_7\nfirst a\\x0Ab\nsecond\n");
}

TEST(ShippedLoggingConfiguration, IsUsableAndShowsWarningsOnStandardError) {
  const LogCategory category("Shipped");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(configureLogging(SOURCETYPE_ETC_DIR "/log-cmdline.cfg", {}), "");
  logWarn(category, "shown");
  logInfo(category, "not shown");
  const auto shown = ::testing::internal::GetCapturedStderr();
  EXPECT_TRUE(shown.ends_with(" WARN  Shipped - shown\n")) << shown;
}

}  // namespace
}  // namespace sourcetype
