#include "classifier/type_name.h"

#include <gtest/gtest.h>

#include "support/table.h"

namespace sourcetype {
namespace {

TEST(TypeName, ComesFromTheFileName) {
  testing::forEachRow("classifier/type_names.txt", 2, [](const testing::Row& row) {
    EXPECT_EQ(makeTypeName(row[0], kPosixPathForm), row[1]);
  });
}

TEST(TypeName, GoesByTheSeparatorOfThePathForm) {
  EXPECT_EQ(makeTypeName("C:\\logs.d\\iis.log", kWindowsPathForm), "iis");
  EXPECT_EQ(makeTypeName("C:\\logs.deep\\iis", kWindowsPathForm), "iis");
}

}  // namespace
}  // namespace sourcetype
