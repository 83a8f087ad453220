#include "main/driver.h"

#include <gtest/gtest.h>

#include "platform/file_lock.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

TEST(Driver, EndsWithAStatusOfItsOwnWhenAWriteIsGivenUp) {
  const testing::TempTree tree;
  const auto file = tree.write("few.log", "one line\n");
  const std::vector<Argument> words{{.path = "sourcetype", .text = "sourcetype"},
                                    {.path = file, .text = "few.log"}};
  ConfStore store(tree.root(), nativePathForm(), std::chrono::milliseconds(1));
  {
    const FileLock held(tree.path("system/local/props.conf.lock"), std::chrono::milliseconds(0));
    EXPECT_EQ(runDriver(store, words), kRunFailed);
  }
  ConfStore next(tree.root());
  EXPECT_EQ(runDriver(next, words), 0);
}

}  // namespace
}  // namespace sourcetype
