#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>

#include "support/system.h"

namespace sourcetype::testing {

const bool kHasFifos = true;
const bool kHasSymbolicLinks = true;
const bool kHasPermissionBits = true;
const bool kNamesAreAnyBytes = true;
const char* const kDevice = "/dev/zero";
const int kMinusOneAsStatus = 255;

void makeFifo(const std::filesystem::path& path) {
  EXPECT_EQ(::mkfifo(path.c_str(), 0600), 0) << path;
}

bool saysMissing(const std::string& text) {
  return text.find("No such file or directory") != text.npos;
}

}  // namespace sourcetype::testing
