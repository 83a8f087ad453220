// What only Windows has: names that are no files, paths that are long or relative to a drive, and
// files that others have open.

#include <gtest/gtest.h>

#include <thread>

#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/windows_api.h"
#include "support/temp_tree.h"

namespace sourcetype {
namespace {

namespace fs = std::filesystem;
using testing::repeated;
using testing::TempTree;

class OpenElsewhere {
 public:
  OpenElsewhere(const fs::path& path, DWORD share)
      : handle_(
            CreateFileW(path.c_str(), GENERIC_READ, share, nullptr, OPEN_EXISTING, 0, nullptr)) {
    EXPECT_NE(handle_, INVALID_HANDLE_VALUE) << path;
  }
  OpenElsewhere(const OpenElsewhere&) = delete;
  OpenElsewhere& operator=(const OpenElsewhere&) = delete;
  ~OpenElsewhere() { CloseHandle(handle_); }

 private:
  HANDLE handle_;
};

TEST(DeviceName, IsNoRegularFileAndNeverWaitedFor) {
  for (const char* name : {"NUL", "CON", "COM1", "CONIN$", R"(\\.\pipe\none)", R"(\\.\C:)"}) {
    EXPECT_NE(fileKind(name), FileKind::Regular) << name;
    EXPECT_TRUE(InputFile(name).error()) << name;
  }
}

TEST(LongPath, IsReadWrittenListedLockedAndDeleted) {
  const TempTree tree;
  const fs::path directory = tree.path(repeated("0123456789/", 40) + "d");
  const fs::path file = directory / "x.conf";
  replaceFile(file, "old");
  replaceFile(file, "new");
  appendToFile(file, "er");
  EXPECT_EQ(readFile(file, 9).view(), "newer");
  EXPECT_EQ(fileKind(file), FileKind::Regular);
  EXPECT_TRUE(isDirectory(directory));
  EXPECT_NE(fileIdentity(file), FileIdentity());
  { const FileLock lock(directory / "x.lock", std::chrono::milliseconds(0)); }
  std::error_code error;
  EXPECT_EQ(listDirectory(directory, error), (std::vector<fs::path>{"x.conf", "x.lock"}));
  EXPECT_FALSE(removeFile(file));
  EXPECT_TRUE(isMissingFile(readFile(file, 9).error));
}

TEST(RelativePath, MayGoByTheWorkingDirectoryOfADrive) {
  const TempTree tree;
  tree.write("a.log", "text");
  const fs::path before = fs::current_path();
  fs::current_path(tree.root());
  EXPECT_EQ(readFile(fs::path(tree.root().root_name()) += "a.log", 9).view(), "text");
  fs::current_path(before);
}

TEST(FileOfSomebodyElse, CannotBeReadWhenItIsSharedWithNobody) {
  const TempTree tree;
  const auto file = tree.write("a.log", "text");
  const OpenElsewhere owner(file, 0);
  EXPECT_EQ(fileKind(file), FileKind::Regular);
  const InputFile input(file);
  EXPECT_TRUE(input.error());
  EXPECT_FALSE(isMissingFile(input.error()));
}

TEST(ReplaceFile, WaitsForAReader) {
  const TempTree tree;
  const auto file = tree.write("x.conf", "old");
  auto reader = std::make_unique<OpenElsewhere>(file, FILE_SHARE_READ);
  std::thread closing([&] {
    Sleep(100);
    reader.reset();
  });
  replaceFile(file, "new");
  closing.join();
  EXPECT_EQ(tree.read("x.conf"), "new");
}

TEST(ReplaceFile, LeavesTheFileAloneThatAReaderKeeps) {
  const TempTree tree;
  const auto file = tree.write("x.conf", "old");
  {
    const OpenElsewhere reader(file, FILE_SHARE_READ);
    EXPECT_THROW(replaceFile(file, "new"), std::system_error);
  }
  EXPECT_EQ(tree.read("x.conf"), "old");
  std::error_code error;
  EXPECT_EQ(listDirectory(tree.root(), error).size(), 1U);
}

// Whether such a file can exist is up to the file system.
TEST(NameOfHalfASurrogatePair, IsReadableText) {
  const fs::path file = L"a\xD83D.log";
  EXPECT_EQ(pathToText(file), "a\uFFFD.log");
  EXPECT_EQ(fileKind(file), FileKind::CannotExamine);
}

TEST(SystemError, HasATextThatGoesOnInALine) {
  SetLastError(ERROR_FILE_NOT_FOUND);
  const auto error = lastSystemError();
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  EXPECT_TRUE(std::isalpha(static_cast<unsigned char>(error.message().back()))) << error.message();
  SetLastError(0x2FFFFFFF);
  EXPECT_EQ(lastSystemError().message(), "error 805306367");
}

}  // namespace
}  // namespace sourcetype
