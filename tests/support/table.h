// Tables of cases in text files, for tests whose cases differ in nothing but their data.
//
//   forEachRow("util/matches.txt", 3, [](const Row& row) {
//     EXPECT_EQ(Regex(row[0]).find(row[1]), row.number(2));
//   });
//
// A line is a case: cells with " | " between them. Empty lines and lines that start with "#" are
// none. A cell is trimmed. In it, \n, \r, \t, \\ and \xNN are what they are in C, \s is a blank, \e
// is nothing, \*N{TEXT} is TEXT N times, and \#A-B{TEXT} is TEXT for each number from A to B, with
// that number for each "#" in it.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "conf/properties_map.h"

namespace sourcetype::testing {

class Row {
 public:
  explicit Row(std::vector<std::string> cells) : cells_(std::move(cells)) {}

  const std::string& operator[](std::size_t index) const { return cells_[index]; }
  // True for "yes"; any other text but "no" is a failure of the test.
  bool flag(std::size_t index) const;
  // A natural number in decimal digits.
  std::size_t number(std::size_t index) const { return std::stoull(cells_[index]); }

 private:
  std::vector<std::string> cells_;
};

// A cell without its escapes.
std::string unescaped(std::string_view cell);

// Settings of a cell like "a=1; b=2".
PropertiesMap settingsFrom(std::string_view cell);

// Calls `test` with each case of a file below tests/. A failure of the test when the file has no
// case, or one without exactly `cells` cells; failures within `test` name file and line.
void forEachRow(std::string_view file, std::size_t cells,
                const std::function<void(const Row&)>& test);

}  // namespace sourcetype::testing
