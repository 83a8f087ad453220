#include "platform/extended_path.h"

#include <gtest/gtest.h>

#include <utility>

namespace sourcetype {
namespace {

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
