// What only POSIX has: permissions of new files.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include "platform/file_system.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using std::filesystem::perms;
using testing::TempTree;

perms permissionsOf(const std::filesystem::path& path) {
  return std::filesystem::status(path).permissions();
}

// In a process of its own: a program asks for its umask once.
TEST(NewFile, HasThePermissionsThatTheUmaskLeaves) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        const TempTree tree;
        ::umask(027);
        replaceFile(tree.path("replaced"), "");
        appendToFile(tree.path("appended"), "");
        const bool isRight = permissionsOf(tree.path("replaced")) == perms(0640) &&
                             permissionsOf(tree.path("appended")) == perms(0640);
        std::exit(isRight ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}

TEST(LockFile, IsForWhoeverMayWriteToItsDirectory) {
  const TempTree tree;
  for (const auto& [directory, lock] :
       {std::pair{0700, 0600}, {0755, 0600}, {0775, 0660}, {0777, 0666}}) {
    std::filesystem::permissions(tree.root(), perms(directory));
    { const FileLock held(tree.path("x.lock"), std::chrono::milliseconds(0)); }
    EXPECT_EQ(permissionsOf(tree.path("x.lock")), perms(lock)) << std::oct << directory;
  }
}

TEST(LockFile, IsNoLink) {
  const TempTree tree;
  const auto other = tree.write("other", "");
  std::filesystem::create_symlink(other, tree.path("x.lock"));
  EXPECT_THROW(FileLock(tree.path("x.lock"), std::chrono::milliseconds(0)), std::system_error);
}

TEST(WriteTarget, FollowsNoLinkThatAnotherAccountPlanted) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can make somebody else's link";
  const TempTree tree;
  const auto other = tree.write("other", "theirs");
  const auto link = tree.path("props.conf");
  std::filesystem::create_symlink(other, link);
  appendToFile(link, "+");
  ASSERT_EQ(tree.read("other"), "theirs+");
  constexpr uid_t kSomebody = 65534;
  ASSERT_EQ(::lchown(link.c_str(), kSomebody, kSomebody), 0);
  EXPECT_THROW(appendToFile(link, "mine"), std::system_error);
  EXPECT_THROW(replaceFile(link, "mine"), std::system_error);
  EXPECT_EQ(tree.read("other"), "theirs+");
  ASSERT_EQ(::chown(tree.root().c_str(), kSomebody, kSomebody), 0);  // it is the owner's now
  EXPECT_NO_THROW(replaceFile(link, "mine"));
}

}  // namespace
}  // namespace sourcetype
