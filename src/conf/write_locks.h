// Locks between processes for writes to a configuration tree.
#pragma once

#include <chrono>
#include <filesystem>
#include <utility>

#include "conf/conf_storage.h"
#include "conf/store_log.h"
#include "platform/file_lock.h"
#include "platform/path_form.h"
#include "util/logging.h"

namespace sourcetype {

class WriteLocks {
 public:
  // Waiting for a lock fails when one process has had it for `maxWait`. The wait after a failure is
  // at most a second: otherwise every write of the run would wait for `maxWait`.
  WriteLocks(std::filesystem::path root, std::chrono::milliseconds maxWait, ConfStorage& storage)
      : root_(std::move(root)), maxWait_(maxWait), storage_(storage) {}

  // Locks the file `target` and calls `action(lock)`, which decides and writes. Calls it again when
  // the lock was lost before anything was written. Throws what the action throws, std::system_error
  // when the lock cannot be had, and std::runtime_error when the directory `root` does not exist:
  // then its path was mistyped, and nothing is created below it.
  template <class Action>
  auto underLock(const std::filesystem::path& target, const Action& action) {
    while (true) {
      const FileLock lock = take(target);
      storage_.removeLeftovers(target);
      try {
        return action(lock);
      } catch (const LockLost& loss) {
        logWarn(kStoreLog, "Writing %s again: %s", pathToText(target), loss.what());
      }
    }
  }

  // True when a wait has failed because another process did not release the lock.
  bool hasGivenUp() const { return hasGivenUp_; }

 private:
  FileLock take(const std::filesystem::path& target);

  std::filesystem::path root_;
  std::chrono::milliseconds maxWait_;
  ConfStorage& storage_;
  bool hasGivenUp_ = false;
  bool hasJustGivenUp_ = false;  // at the last attempt
};

}  // namespace sourcetype
