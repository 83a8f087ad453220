// The unit tests, with the program's default logging: WARN and above to standard error.

#include <gtest/gtest.h>

#include "util/logging.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  sourcetype::configureLogging("", {});
  return RUN_ALL_TESTS();
}
