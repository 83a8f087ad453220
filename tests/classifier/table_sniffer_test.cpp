#include "classifier/tables/table_sniffer.h"

#include <gtest/gtest.h>

#include "support/table.h"
#include "util/text.h"

namespace sourcetype {
namespace {

TEST(TableSniffer, FindsDelimiterAndNames) {
  testing::forEachRow("classifier/tables.txt", 4, [](const testing::Row& row) {
    auto lines = split(row[1], "\n");
    std::erase_if(lines, [](auto line) { return trimBlanks(line).empty(); });
    const Table table = sniffTable(lines);
    EXPECT_EQ(std::string(1, table.delimiter), row[2]) << row[0];
    std::string names = table.names.empty() ? "-" : "";
    for (const auto& name : table.names) names += (&name == table.names.data() ? "" : ", ") + name;
    EXPECT_EQ(names, row[3]) << row[0];
  });
}

// Quotes without ends must not make later text be read again and again.
TEST(TableSniffer, ReadsHugeTextsOnce) {
  std::string line;
  while (line.size() < 20'000) line += "\"a,b\" c,";
  const std::vector<std::string_view> lines(1000, line);
  EXPECT_TRUE(sniffTable(lines).names.empty());
  EXPECT_TRUE(sniffTable({}).names.empty());
}

}  // namespace
}  // namespace sourcetype
