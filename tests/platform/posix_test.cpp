// What only POSIX has: permissions, access lists, extended attributes, and files of unknown size.

#include <acl/libacl.h>
#include <gtest/gtest.h>
#include <sys/acl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <future>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using std::filesystem::perms;
using testing::TempTree;

perms permissionsOf(const std::filesystem::path& path) {
  return std::filesystem::status(path).permissions();
}

TEST(ReadFile, KeepsToItsLimitWhereTheSizeIsToldWrongly) {
  const char* const unsized = "/proc/self/status";  // is told to have no bytes
  if (!std::filesystem::exists(unsized)) GTEST_SKIP();
  EXPECT_GT(readFile(unsized, 1'000'000).size, 100U);
  EXPECT_EQ(readFile(unsized, 100).error, std::errc::file_too_large);
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

struct Account {
  uid_t user;
  gid_t group;
};
constexpr Account kRoot{0, 0};
constexpr Account kOwner{65534, 65534};
constexpr gid_t kSharedGroup = 65533;  // the directory's, which its owner is not in
constexpr Account kMember{65533, kSharedGroup};
constexpr Account kOtherMember{65532, kSharedGroup};

// Lets this process, which is root's, act as another account.
class ActingAs {
 public:
  explicit ActingAs(Account account) {
    EXPECT_EQ(::setegid(account.group), 0);
    EXPECT_EQ(::seteuid(account.user), 0);
  }
  ActingAs(const ActingAs&) = delete;
  ActingAs& operator=(const ActingAs&) = delete;
  ~ActingAs() {
    EXPECT_EQ(::seteuid(0), 0);
    EXPECT_EQ(::setegid(0), 0);
  }
};

// Access lists as short texts: "u::rw-,u:1234:r--,g::---,m::r--,o::---".
bool setList(const std::filesystem::path& path, acl_type_t type, const char* text) {
  acl_t list = ::acl_from_text(text);
  const bool isSet = ::acl_set_file(path.c_str(), type, list) == 0;
  ::acl_free(list);
  return isSet;
}

std::string listOf(const std::filesystem::path& path) {
  acl_t list = ::acl_get_file(path.c_str(), ACL_TYPE_ACCESS);
  char* const text = ::acl_to_any_text(list, "", ',', TEXT_ABBREVIATE | TEXT_NUMERIC_IDS);
  std::string result = text;
  ::acl_free(text);
  ::acl_free(list);
  return result;
}

bool setAttribute(const std::filesystem::path& path, const char* name, std::string_view value) {
  return ::setxattr(path.c_str(), name, value.data(), value.size(), 0) == 0;
}

std::string attributeOf(const std::filesystem::path& path, const char* name) {
  std::array<char, 16> value{};
  const auto size = ::getxattr(path.c_str(), name, value.data(), value.size());
  return size < 0 ? "none" : std::string(value.data(), static_cast<std::size_t>(size));
}

constexpr const char* kDefaultList = "u::rwx,u:1234:rwx,u:1235:r-x,g::r-x,m::rwx,o::---";

TEST(ReplacedFile, KeepsItsAccessListAndAttributes) {
  const TempTree tree;
  if (!setList(tree.root(), ACL_TYPE_DEFAULT, kDefaultList)) GTEST_SKIP() << "no access lists";
  const auto file = tree.path("file");
  const auto copy = tree.path("copy");
  std::optional<ActingAs> acting;  // root may set attributes whatever the permissions
  if (::geteuid() == 0) {
    ASSERT_EQ(::chown(tree.root().c_str(), kOwner.user, kOwner.group), 0);
    acting.emplace(kOwner);
  }
  for (const char* list :
       {"u::rw-,u:1234:rw-,g::---,m::rw-,o::---", "u::r--,u:1234:rwx,g::rw-,m::r--,o::---",
        "u::rw-,g::r--,o::r--", "u::r--,g::---,o::---"}) {
    std::filesystem::remove(file);
    std::filesystem::remove(copy);
    tree.write("file", "old");
    const bool hasAttributes = setAttribute(file, "user.note", "mine");
    ASSERT_TRUE(setList(file, ACL_TYPE_ACCESS, list));
    replaceFile(copy, "new", file);
    replaceFile(file, "new");
    for (const auto& replaced : {file, copy}) {
      EXPECT_EQ(listOf(replaced), list);
      EXPECT_EQ(attributeOf(replaced, "user.note"), hasAttributes ? "mine" : "none");
    }
  }
}

TEST(ReplacedFile, LosesOnlyWhatThisAccountMayNotGive) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can act as others";
  const TempTree tree;
  const auto file = tree.write("file", "old");
  constexpr gid_t kForeignGroup = 65500;
  ASSERT_EQ(::chown(tree.root().c_str(), kOwner.user, kOwner.group), 0);
  ASSERT_EQ(::chown(file.c_str(), 0, kForeignGroup), 0);
  if (!setList(file, ACL_TYPE_ACCESS, "u::rw-,u:1234:rw-,g::rw-,m::rw-,o::r--") ||
      !setAttribute(file, "user.note", "mine") || !setAttribute(file, "security.note", "label")) {
    GTEST_SKIP() << "no access lists or attributes";
  }
  replaceFile(file, "new");
  EXPECT_EQ(listOf(file), "u::rw-,u:1234:rw-,g::rw-,m::rw-,o::r--");
  EXPECT_EQ(attributeOf(file, "security.note"), "label");
  {
    const ActingAs acting(kOwner);
    replaceFile(file, "new");
  }
  EXPECT_EQ(listOf(file), "u::rw-,u:1234:rw-,g::---,m::rw-,o::r--");
  EXPECT_EQ(attributeOf(file, "user.note"), "mine");
  EXPECT_EQ(attributeOf(file, "security.note"), "none");
}

TEST(NewFile, HasTheRightsThatItsDirectoryGives) {
  for (const char* list : {kDefaultList, "u::rwx,g::rwx,o::---"}) {
    const TempTree tree;
    if (!setList(tree.root(), ACL_TYPE_DEFAULT, list)) GTEST_SKIP() << "no access lists";
    const auto made = tree.write("made", "");
    replaceFile(tree.path("replaced"), "");
    EXPECT_EQ(listOf(tree.path("replaced")), listOf(made));
  }
}

TEST(LockFile, IsForWhoeverTheAccessListOfItsDirectoryLetsWrite) {
  const TempTree tree;
  if (!setList(tree.root(), ACL_TYPE_DEFAULT, kDefaultList)) GTEST_SKIP() << "no access lists";
  for (const auto& [directory, lock] :
       {std::pair{"u::rwx,g::r-x,o::r-x", "u::rw-,g::---,o::---"},
        {"u::rwx,u:1234:rwx,u:1235:r-x,g::r-x,m::rwx,o::---",
         "u::rw-,u:1234:rw-,u:1235:---,g::---,m::rw-,o::---"},
        {"u::rwx,u:1234:rwx,g::rwx,m::r-x,o::r-x", "u::rw-,u:1234:rw-,g::rw-,m::---,o::---"}}) {
    ASSERT_TRUE(setList(tree.root(), ACL_TYPE_ACCESS, directory));
    { const FileLock held(tree.path("x.lock"), std::chrono::milliseconds(0)); }
    EXPECT_EQ(listOf(tree.path("x.lock")), lock);
  }
}

TEST(LockFile, IsForThemAlsoWhenAnotherAccountMadeIt) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can act as others";
  struct Row {
    int directory;
    Account first, next;
    int lock;
    const char* list = nullptr;  // the directory's
  };
  for (const auto& [directory, first, next, lock, list] :
       {Row{0755, kRoot, kOwner, 0600},
        {0775, kRoot, kMember, 0660},
        {0775, kMember, kOtherMember, 0660},
        {0775, kOwner, kMember, 0644},
        {0775, kMember, kOwner, 0664, "u::rwx,u:65533:rwx,g::r-x,m::rwx,o::r-x"}}) {
    SCOPED_TRACE(std::to_string(first.user) + " before " + std::to_string(next.user));
    const TempTree tree;
    ASSERT_EQ(::chown(tree.root().c_str(), kOwner.user, kSharedGroup), 0);
    std::filesystem::permissions(tree.root(), perms(directory));
    if (list != nullptr && !setList(tree.root(), ACL_TYPE_ACCESS, list)) continue;
    for (const auto& account : {first, next}) {
      const ActingAs acting(account);
      EXPECT_NO_THROW(FileLock(tree.path("x.lock"), std::chrono::milliseconds(0)));
    }
    EXPECT_EQ(permissionsOf(tree.path("x.lock")), perms(lock));
  }
}

TEST(LockFile, IsRefusedWithTheReasonWhereNoneCanBeMade) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can act as others";
  const TempTree tree;
  const ActingAs acting(kOwner);
  try {
    const FileLock held(tree.path("x.lock"), std::chrono::milliseconds(0));
    FAIL() << "nothing thrown";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::permission_denied);
  }
}

TEST(LockFile, IsNoLinkAndNothingToWaitFor) {
  const TempTree tree;
  std::filesystem::create_symlink(tree.path("other"), tree.path("link.lock"));
  ASSERT_EQ(::mkfifo(tree.path("fifo.lock").c_str(), 0444), 0);
  std::filesystem::permissions(tree.root(), perms(0777));
  std::optional<ActingAs> acting;
  if (::geteuid() == 0) acting.emplace(kOwner);  // may only read the FIFO
  for (const char* planted : {"link.lock", "fifo.lock"}) {
    EXPECT_THROW(FileLock(tree.path(planted), std::chrono::milliseconds(0)), std::system_error);
  }
  EXPECT_FALSE(exists(tree.path("other")));
}

TEST(LockFile, LeavesOtherFilesAsTheyAre) {
  const TempTree tree;
  std::filesystem::permissions(tree.root(), perms(0777));
  const auto secret = tree.write("moved.lock", "secret");
  const auto empty = tree.write("empty", "");
  std::filesystem::create_hard_link(empty, tree.path("linked.lock"));
  for (const auto& file : {secret, empty}) std::filesystem::permissions(file, perms(0600));
  for (const char* planted : {"moved.lock", "linked.lock"}) {
    const FileLock held(tree.path(planted), std::chrono::milliseconds(0));
    EXPECT_EQ(permissionsOf(tree.path(planted)), perms(0600)) << planted;
  }
}

TEST(LockFile, IsNoLockAnyMoreWhenItWasDeleted) {
  const TempTree tree;
  const auto lockPath = tree.path("x.lock");
  const FileLock first(lockPath, std::chrono::milliseconds(0));
  EXPECT_NO_THROW(first.ensureHeld());
  auto waiting = std::async(std::launch::async, [&] { FileLock(lockPath, std::chrono::hours(1)); });
  std::filesystem::remove(lockPath);
  EXPECT_NO_THROW(waiting.get());  // by a new file
  EXPECT_THROW(first.ensureHeld(), LockLost);
  tree.write("x.conf", "old");
  EXPECT_THROW(replaceFile(tree.path("x.conf"), "new", &first), LockLost);
  EXPECT_THROW(appendToFile(tree.path("x.conf"), DecisiveText{"new"}, first), LockLost);
  EXPECT_EQ(tree.read("x.conf"), "old");
}

TEST(LockFile, TellsWhichProcessHoldsItTooLong) {
  const TempTree tree;
  const auto lockPath = tree.path("x.lock");
  std::array<int, 2> ready{};
  ASSERT_EQ(::pipe(ready.data()), 0);
  const pid_t holder = ::fork();
  if (holder == 0) {
    const FileLock held(lockPath, std::chrono::milliseconds(0));
    ::close(ready[1]);
    ::pause();
  }
  ::close(ready[1]);
  char nothing = 0;
  EXPECT_EQ(::read(ready[0], &nothing, 1), 0);
  ::close(ready[0]);
  try {
    const FileLock lock(lockPath, std::chrono::milliseconds(1));
    ADD_FAILURE() << "nothing thrown";
  } catch (const std::system_error& error) {
    EXPECT_EQ(error.code(), std::errc::timed_out);
    EXPECT_NE(std::string(error.what()).find("process " + std::to_string(holder) + " holds"),
              std::string::npos)
        << error.what();
  }
  ::kill(holder, SIGKILL);
  ::waitpid(holder, nullptr, 0);
  // The attempt that was given up is still in line and has the lock for a moment.
  EXPECT_NO_THROW(FileLock(lockPath, std::chrono::minutes(1)));
}

// All of them together keep it for twice as long as one may.
TEST(LockFile, IsWaitedForAsLongAsItChangesHands) {
  constexpr std::chrono::milliseconds kMaxWait{1500};
  constexpr std::chrono::milliseconds kHold{100};
  const TempTree tree;
  std::vector<pid_t> holders(30);
  for (auto& holder : holders) {
    holder = ::fork();
    if (holder != 0) continue;
    try {
      const FileLock held(tree.path("x.lock"), kMaxWait);
      std::this_thread::sleep_for(kHold);
    } catch (const std::system_error&) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  for (const pid_t holder : holders) {
    int status = -1;
    ::waitpid(holder, &status, 0);
    EXPECT_EQ(status, 0);
  }
}

TEST(ReplaceFile, GivesNoRightsToAnotherGroup) {
  if (::geteuid() != 0) GTEST_SKIP() << "only root can act as others";
  const TempTree tree;
  std::filesystem::permissions(tree.root(), perms(0777));
  const auto file = tree.write("props.conf", "");
  ASSERT_EQ(::chown(file.c_str(), kRoot.user, kSharedGroup), 0);
  std::filesystem::permissions(file, perms(0664));
  const ActingAs acting(kOwner);  // may not give a file to that group
  replaceFile(file, "new");
  EXPECT_EQ(permissionsOf(file), perms(0604));
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
