#include "conf/write_locks.h"
#include "platform/file_system.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

namespace sourcetype {
namespace {

// The maximum wait after a wait that has failed.
constexpr std::chrono::milliseconds kMaxWaitAfterwards{1000};

// The lock file of a file in the tree at `root`.
std::filesystem::path lockFileBelow(const std::filesystem::path& root,
                                    const std::filesystem::path& target) {
  if (!isDirectory(root)) {
    throw std::runtime_error("there is no directory " + pathToText(root));
  }
  return writeTarget(target) += ".lock";
}

}  // namespace

FileLock WriteLocks::take(const std::filesystem::path& target) {
  const auto lockPath = lockFileBelow(root_, target);
  const bool isShort = std::exchange(hasJustGivenUp_, false);
  try {
    return {lockPath, isShort ? std::min(maxWait_, kMaxWaitAfterwards) : maxWait_};
  } catch (const std::system_error& error) {
    hasJustGivenUp_ = error.code() == std::errc::timed_out;
    hasGivenUp_ = hasGivenUp_ || hasJustGivenUp_;
    throw;
  }
}

}  // namespace sourcetype
