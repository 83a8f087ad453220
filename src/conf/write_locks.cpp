#include "conf/write_locks.h"

#include <algorithm>
#include <stdexcept>
#include <system_error>
#include <utility>

#include "platform/file_system.h"
#include "platform/file_writing.h"
#include "platform/path_form.h"

namespace sourcetype {
namespace {

// The maximum wait after a wait that has failed.
constexpr std::chrono::milliseconds kMaxWaitAfterwards{1000};

}  // namespace

FileLock WriteLocks::take(const std::filesystem::path& target) {
  if (!isDirectory(root_)) {
    throw std::runtime_error("there is no directory " + pathToText(root_));
  }
  const auto locked = writeTarget(target);
  const bool isShort = std::exchange(hasJustGivenUp_, false);
  try {
    return storage_.lock(locked, isShort ? std::min(maxWait_, kMaxWaitAfterwards) : maxWait_);
  } catch (const std::system_error& error) {
    hasJustGivenUp_ = error.code() == std::errc::timed_out;
    hasGivenUp_ = hasGivenUp_ || hasJustGivenUp_;
    throw;
  }
}

}  // namespace sourcetype
