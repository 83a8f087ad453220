#include "util/format.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <vector>

#include "support/table.h"

namespace sourcetype {
namespace {

FormatArgument argumentFrom(std::string_view text) {
  const auto value = text.substr(1);
  switch (text.front()) {
    case 'c':
      return value.front();
    case 'd':
      return std::stoll(std::string(value));
    case 'u':
      return std::stoull(std::string(value));
    case 'f':
      return std::stod(std::string(value));
    case 'n':
      return MultiLineText{value};
    default:
      return value;
  }
}

TEST(FormatText, GivesSomethingReadable) {
  constexpr std::string_view kSeparator = " ; ";
  testing::forEachRow("util/formats.txt", 4, [&](const testing::Row& row) {
    std::vector<FormatArgument> arguments;
    for (std::string_view rest = row[2]; !rest.empty();) {
      const auto text = rest.substr(0, rest.find(kSeparator));
      arguments.push_back(argumentFrom(text));
      rest.remove_prefix(std::min(text.size() + kSeparator.size(), rest.size()));
    }
    EXPECT_EQ(formatText(row[1], std::span<const FormatArgument>(arguments)), row[3]);
  });
}

TEST(FormatText, ShowsTheGivenErrorOrElseErrnoForM) {
  const auto denied = std::make_error_code(std::errc::permission_denied);
  EXPECT_EQ(formatText("open %s: %m", "f", denied), "open f: " + denied.message());
  EXPECT_EQ(formatText("%s", "f", denied), "f");
  errno = EEXIST;
  EXPECT_EQ(formatText("%m"), std::generic_category().message(EEXIST));
}

TEST(FormatText, IsBoundedWhateverTheFormatRepeats) {
  std::string format;
  for (int i = 0; i < 100000; ++i) format += "%1$999s";
  EXPECT_LT(formatText(format, "a").size(), format.size() + 10);
  EXPECT_LT(formatText("%.1000f %.1000g %.1000e %.1000a", 1e308, 1e-308, 0.1, 0.1).size(), 6000U);
}

}  // namespace
}  // namespace sourcetype
