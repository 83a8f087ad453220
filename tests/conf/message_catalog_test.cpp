#include "conf/message_catalog.h"

#include <gtest/gtest.h>

#include <fstream>

#include "platform/path_form.h"
#include "support/temp_tree.h"
#include "util/log_configuration.h"

namespace sourcetype {
namespace {

using testing::TempTree;

constexpr const char* kFallback = "String not found in literals.conf: ";

TEST(MessageCatalog, FindsATextByStanzaAndKeyInAnyCase) {
  MessageCatalog catalog;
  catalog.add("FILE_CLASSIFIER", "CANNOT_OPEN__S", "old");
  catalog.add("FILE_CLASSIFIER", "CANNOT_OPEN__S", "no %s");
  EXPECT_EQ(catalog.lookup("FILE_CLASSIFIER_CANNOT_OPEN__%s"), "no %s");
  EXPECT_EQ(catalog.lookup("file_classifier_cannot_open__%s"), "no %s");
}

TEST(MessageCatalog, MakesATextForAnUnknownCodeAndKeepsIt) {
  MessageCatalog catalog;
  EXPECT_EQ(catalog.lookup("FOO"), std::string(kFallback) + "FOO");
  EXPECT_EQ(catalog.lookup(""), kFallback);
  const std::string expected = std::string(kFallback) + "A_B Arguments: _%s__%lu";
  EXPECT_EQ(catalog.lookup("A_B__%s__%lu"), expected);
  EXPECT_EQ(catalog.lookup("a_b__%S__%LU"), expected) << "made once for all spellings";
  catalog.add("A", "B__S__LU", "found later");
  EXPECT_EQ(catalog.lookup("A_B__%s__%lu"), "found later");
}

TEST(LogMessage, KeepsTheTextAndEscapesItsArguments) {
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

// The settings of the shipped file, as loadMessages() adds them.
MessageCatalog shippedCatalog() {
  MessageCatalog catalog;
  std::ifstream file(SOURCETYPE_ETC_DIR "/system/default/literals.conf");
  std::string stanza;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with('[')) stanza = line.substr(1, line.rfind(']') - 1);
    const auto equals = line.find(" = ");
    if (line.starts_with('#') || equals == std::string::npos) continue;
    catalog.add(stanza, line.substr(0, equals), line.substr(equals + 3));
  }
  return catalog;
}

template <class... Args>
void expectText(std::string_view code, const Args&... args) {
  auto catalog = shippedCatalog();
  const std::string& text = catalog.lookup(code);
  EXPECT_FALSE(text.starts_with(kFallback)) << code;
  const std::string shown = formatText(text, args...);
  EXPECT_EQ(shown.find('%'), std::string::npos) << "does not take the arguments: " << text;
}

TEST(ShippedLiterals, HaveATextForEveryCodeThatTakesItsArguments) {
  expectText("FILE_CLASSIFIER_INVALID_FILE__%s_%s", "f", "binary");
  expectText("FILE_CLASSIFIER_FOUND_REGULAR_TIMESTAMP__%s_%d", "t", 40);
  expectText("FILE_CLASSIFIER_FOUND_TIMESTAMP_PREFEX__%s_%s", "t", "r");
  expectText("FILE_CLASSIFIER_UNABLE_TO_CONVERT_TO_UTF8__%s", "c");
  expectText("FILE_CLASSIFIER_CANNOT_OPEN__%s", "f");
  expectText("FILE_CLASSIFIER_TRAINING__%s", "t");
  expectText("FILE_CLASSIFIER_NO_SOURCETYPE_FOUND__%s", "rule::x");
  expectText("FILE_CLASSIFIER_UNKNOWN_SETTING__%s", "k");
  expectText("FILE_CLASSIFIER_ERROR_GETTING_TYPE__%s", "f");
  expectText("FILE_CLASSIFIER_ERROR_GETTING_REGEX__%s", "t");
  expectText("FILE_CLASSIFIER_NEW_KNOWN_TYPE__%s_%s", "t", "True");
  expectText("FILE_CLASSIFIER_NO_GOOD_REGEX__%s", "t");
  expectText("FILE_CLASSIFIER_FOUND_GOOD_REGEX__%s_%s_%s", "r", "t", "f");
  expectText("FILE_CLASSIFIER_TOO_FEW_LINES__%lu_%s_%lu", 99UL, "f", 100UL);
  expectText("FILE_CLASSIFIER_INCREASING_MAX_DIST__%lu", 3001UL);
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
