#include "classifier/type_name.h"

#include <gtest/gtest.h>

#include "support/temp_tree.h"

namespace sourcetype {
namespace {

struct NameCase {
  const char* file;
  const char* name;
};

class TypeName : public ::testing::TestWithParam<NameCase> {};

TEST_P(TypeName, ComesFromTheFileName) {
  EXPECT_EQ(makeTypeName(GetParam().file, kPosixPathForm), GetParam().name);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TypeName,
    ::testing::Values(NameCase{"/var/log/weblogic.log", "weblogic"},
                      NameCase{"/d.conf/access", "access"}, NameCase{"access.iis", "iis"},
                      NameCase{"access.Log.old", "old"}, NameCase{"access.log.1", "access.log"},
                      NameCase{"access.LOGS", "access"}, NameCase{"access.txt2", "access"},
                      NameCase{"access.7z9", "access"}, NameCase{"access.gz", "access"},
                      NameCase{"app-2026-03", "app"}, NameCase{"report.abc123", "abc"},
                      NameCase{"2026.log", "generic"}, NameCase{"ab.log", "generic"},
                      NameCase{"", "generic"}, NameCase{"a.x9", "generic"},
                      NameCase{"rule::mine", "generic"}, NameCase{"a.host::b", "generic"},
                      NameCase{" \t\n\xC2\x85 lead.log", "lead"}, NameCase{"  ab.log", "generic"},
                      NameCase{"a\tb\n\x7F\xC2\x9B\xC3\x85x.log", "a_b___\xC3\x85x"},
                      NameCase{"x.ab\rc", "ab_c"}, NameCase{".profile", "profile"},
                      NameCase{"C:\\logs\\iis.log", "C:\\logs\\iis"}));

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
