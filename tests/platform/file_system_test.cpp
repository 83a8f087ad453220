#include "platform/file_system.h"
#include "platform/file_writing.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>
#include <optional>
#include <utility>

#include "platform/extended_path.h"
#include "platform/file_lock.h"
#include "platform/path_form.h"
#include "support/system.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

using std::chrono::milliseconds;
using std::filesystem::perms;
using testing::TempTree;

TEST(ReadFile, GivesTheBytesOrTheReason) {
  const TempTree tree;
  EXPECT_EQ(readFile(tree.write("f", std::string_view("a\0b", 3)), 9).view(),
            std::string_view("a\0b", 3));
  EXPECT_TRUE(isMissingFile(readFile(tree.path("none"), 9).error));
  EXPECT_EQ(readFile(tree.root(), 9).error, std::errc::is_a_directory);
  EXPECT_EQ(readFile(tree.path("f"), 3).size, 3U);
  EXPECT_EQ(readFile(tree.path("f"), 2).error, std::errc::file_too_large);
}

TEST(InputFile, RefusesAFifoWithoutWaitingForAWriter) {
  const TempTree tree;
  if (!testing::kHasFifos) GTEST_SKIP();
  testing::makeFifo(tree.path("fifo"));
  EXPECT_TRUE(InputFile(tree.path("fifo")).error());
  EXPECT_EQ(fileKind(tree.path("fifo")), FileKind::Other);
}

TEST(ReplaceFile, MakesDirectoriesAndLeavesNothingBeside) {
  const TempTree tree;
  replaceFile(tree.path("a/b/c.conf"), "new");
  EXPECT_EQ(tree.read("a/b/c.conf"), "new");
  std::error_code error;
  EXPECT_EQ(listDirectory(tree.path("a/b"), error).size(), 1U);
}

TEST(ReplaceFile, KeepsPermissionsAndWritesThroughALink) {
  if (!testing::kHasPermissionBits || !testing::kHasSymbolicLinks) GTEST_SKIP();
  const TempTree tree;
  const auto real = tree.write("real.conf", "old");
  std::filesystem::permissions(real, perms::owner_read | perms::owner_write);
  std::filesystem::create_symlink("real.conf", tree.path("link.conf"));
  replaceFile(tree.path("link.conf"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(tree.path("link.conf")));
  EXPECT_EQ(tree.read("real.conf"), "new");
  EXPECT_EQ(std::filesystem::status(real).permissions(), perms::owner_read | perms::owner_write);
}

TEST(ReplaceFile, ThrowsWithThePathWhenItCannotWrite) {
  const TempTree tree;
  tree.write("file", "");
  try {
    replaceFile(tree.path("file/x.conf"), "new");
    FAIL() << "nothing thrown";
  } catch (const std::system_error& error) {
    EXPECT_NE(std::string_view(error.what()).find("file"), std::string_view::npos);
  }
}

TEST(RemoveLeftovers, DeletesTemporaryFilesOfTheTargetAlone) {
  const TempTree tree;
  const std::vector<std::string> others{"props.conf",
                                        "props.conf.1-2.tmp~",
                                        "props.conf.1.tmp",
                                        "props.conf.1-.tmp",
                                        "props.conf.1-2x.tmp",
                                        "a.conf.1-2.tmp",
                                        "props.conf.lock",
                                        "props.conf.-2.tmp",
                                        "1-2.tmp",
                                        "props.conf.bak.1-2.tmp"};
  for (const auto& name : others) tree.write(name, "");
  tree.write("props.conf.77-1795301704009279376.tmp", "");
  removeLeftovers(tree.path("props.conf"));
  std::error_code error;
  EXPECT_EQ(listDirectory(tree.root(), error).size(), others.size());
  for (const auto& name : others) EXPECT_TRUE(exists(tree.path(name))) << name;
}

TEST(AppendToFile, LeavesAFileWithSeveralNamesAlone) {
  const TempTree tree;
  const auto other = tree.write("other", "theirs\n");
  std::filesystem::create_hard_link(other, tree.path("x.conf"));
  const FileLock lock(tree.path("x.lock"), milliseconds(0));
  const DecisiveText text{.content = "\n[s]\n", .decisive = 0, .placeholder = '['};
  EXPECT_FALSE(appendToFile(tree.path("x.conf"), text, lock));
  try {
    appendToFile(tree.path("x.conf"), "mine");
    FAIL() << "nothing thrown";
  } catch (const std::system_error& error) {
    EXPECT_NE(std::string_view(error.what()).find("hard links"), std::string_view::npos);
  }
  EXPECT_EQ(tree.read("other"), "theirs\n");
  std::filesystem::remove(other);
  EXPECT_TRUE(appendToFile(tree.path("x.conf"), text, lock));
  EXPECT_EQ(tree.read("x.conf"), "theirs\n\n[s]\n");
}

TEST(FileLock, IsRefusedWhileHeldAndFreeAfterwards) {
  const TempTree tree;
  const auto lockPath = tree.path("x.lock");
  {
    const FileLock held(lockPath, milliseconds(0));
    EXPECT_THROW(FileLock(lockPath, milliseconds(20)), std::system_error);
  }
  // The attempt that was given up is still in line and has the lock for a moment.
  EXPECT_NO_THROW(FileLock(lockPath, std::chrono::minutes(1)));
}

TEST(FileLock, GoesToOneWhoWaitsForIt) {
  const TempTree tree;
  const auto lockPath = tree.path("x.lock");
  std::optional<FileLock> held(std::in_place, lockPath, milliseconds(0));
  auto waiting = std::async(std::launch::async, [&] { FileLock(lockPath, std::chrono::hours(1)); });
  held.reset();
  EXPECT_NO_THROW(waiting.get());
}

TEST(PathText, IsUtf8AndReadsBack) {
  const std::string text = "\u00e9t\u00e9 \u65e5\u672c \U0001F4C4.log";
  const auto path = pathFromText(text);
  EXPECT_EQ(path, std::filesystem::path(u"\u00e9t\u00e9 \u65e5\u672c \U0001F4C4.log"));
  EXPECT_EQ(pathToText(path), text);
}

TEST(PathText, OfAnyBytesIsTextAgain) {
  EXPECT_FALSE(pathToText(pathFromText("a\xFFz")).empty());
  EXPECT_EQ(pathToText(pathFromText("")), "");
}

TEST(ExtendedPath, IsMadeOfDrivesAndSharesButNotOfDevices) {
  for (const auto& [path, extended] : {std::pair{LR"(C:\logs\a)", LR"(\\?\C:\logs\a)"},
                                       {LR"(\\server\share\a)", LR"(\\?\UNC\server\share\a)"},
                                       {LR"(\\.\NUL)", LR"(\\.\NUL)"},
                                       {LR"(\\?\C:\a)", LR"(\\?\C:\a)"}}) {
    EXPECT_EQ(extendedPath(path), extended);
  }
}

}  // namespace
}  // namespace sourcetype
