// Runs the tests of an executable, started as every program of ours is.

#include <gtest/gtest.h>

#include <vector>

#include "platform/entry_point.h"
#include "util/logging.h"

int sourcetype::programMain(std::span<const Argument> arguments) {
  std::vector<char*> words;
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.text.c_str()));
  int count = static_cast<int>(words.size());
  words.push_back(nullptr);
  ::testing::InitGoogleTest(&count, words.data());
  configureLogging("", {});  // the program's default: WARN and above to standard error
  return RUN_ALL_TESTS();
}
