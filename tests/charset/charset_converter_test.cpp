// Every row of a table is also cut in two at each place, and fed byte by byte.
#include <gtest/gtest.h>

#include <string>

#include "support/converted.h"
#include "support/table.h"
#include "support/temp_tree.h"

namespace sourcetype::testing {
namespace {

TEST(Conversion, GivesTheSameTextHoweverTheInputIsCut) {
  forEachRow("charset/conversions.txt", 5, [](const Row& row) {
    const auto &charset = row[1], &bytes = row[2];
    const Converted expected{row[3], row.number(4)};
    EXPECT_EQ(convertAll(charset, bytes), expected);
    EXPECT_EQ(convertInPieces(charset, bytes, 0, 1), expected) << "byte by byte";
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
      EXPECT_EQ(convertInPieces(charset, bytes, cut, bytes.size()), expected) << "cut at " << cut;
    }
  });
}

// The run of ASCII is measured in words and blocks; each place in them is tried.
TEST(AsciiRun, EndsAtTheFirstOtherByteWhereverItStands) {
  const std::string ascii = repeated("a~\x01\x7F", 25);
  for (std::size_t at = 0; at < ascii.size(); ++at) {
    for (const auto& [byte, escaped] : {std::pair{'\0', "\\x00"}, std::pair{'\x80', "\\x80"}}) {
      std::string bytes = ascii, text = ascii;
      bytes[at] = byte;
      text.replace(at, 1, escaped);
      EXPECT_EQ(convertAll("utf-8", bytes), (Converted{text, 1})) << at;
    }
  }
}

}  // namespace
}  // namespace sourcetype::testing
