#include "platform/path_form.h"

#include <gtest/gtest.h>

namespace sourcetype {
namespace {

TEST(PathText, IsUtf8AndReadsBack) {
  const std::string text = "\u00e9t\u00e9 \u65e5\u672c \U0001F4C4.log";
  const auto path = pathFromText(text);
  EXPECT_EQ(path, std::filesystem::path(u"\u00e9t\u00e9 \u65e5\u672c \U0001F4C4.log"));
  EXPECT_EQ(pathToText(path), text);
}

TEST(PathText, OfAnyBytesIsTextAgain) {
  EXPECT_FALSE(pathToText(pathFromText("a\xFFz")).empty());
  EXPECT_EQ(pathToText(pathFromText("")), "");
}

}  // namespace
}  // namespace sourcetype
