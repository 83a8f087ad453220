// Runs the tests of an executable, started as every program of ours is.

#include <gtest/gtest.h>

#include <vector>

#include "platform/entry_point.h"
#include "util/log_configuration.h"

namespace {

// The program's default: WARN and above to standard error, as it is at that time.
void resetLogging() {
  sourcetype::configureLogging("", {});
}

// A test that sets up logging leaves nothing behind for the next one.
class LoggingReset : public ::testing::EmptyTestEventListener {
  void OnTestEnd(const ::testing::TestInfo& /*test*/) override { resetLogging(); }
};

}  // namespace

int sourcetype::programMain(std::span<const Argument> arguments) {
  std::vector<char*> words;
  for (const auto& argument : arguments) words.push_back(const_cast<char*>(argument.text.c_str()));
  int count = static_cast<int>(words.size());
  words.push_back(nullptr);
  ::testing::InitGoogleTest(&count, words.data());
  ::testing::UnitTest::GetInstance()->listeners().Append(new LoggingReset);  // which it owns
  resetLogging();
  return RUN_ALL_TESTS();
}
