#include "classifier/type_name.h"

#include <gtest/gtest.h>

#include "support/table.h"
#include "support/temp_tree.h"

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

TEST(UniqueTypeName, CountsStanzasThatBeginWithIt) {
  const sourcetype::testing::TempTree tree;
  tree.write("system/default/props.conf", "[access]\n[access_combined]\n[access-3]\n[access-4]\n");
  ConfStore store(tree.root(), kPosixPathForm);
  EXPECT_EQ(makeUniqueTypeName("access.log", store), "access-5");
  EXPECT_EQ(makeUniqueTypeName("orders.log", store), "orders");
}

TEST(UniqueTypeName, IsNeverThatOfASpecialStanza) {
  const sourcetype::testing::TempTree tree;
  for (const char* props : {"", "[default]\n[too_small]\n"}) {
    tree.write("system/default/props.conf", props);
    ConfStore store(tree.root(), kPosixPathForm);
    EXPECT_EQ(makeUniqueTypeName("default.log", store), "default-2");
    EXPECT_EQ(makeUniqueTypeName("x.too_small", store), "too_small-2");
  }
}

}  // namespace
}  // namespace sourcetype
