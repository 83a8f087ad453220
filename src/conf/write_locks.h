// Locks between processes for writes to a configuration tree.
#pragma once

#include <chrono>
#include <filesystem>

#include "conf/store_log.h"
#include "platform/file_lock.h"
#include "platform/file_system.h"
#include "platform/path_form.h"

namespace sourcetype {

class WriteLocks {
 public:
  // A write is given up when one process has kept its lock for `maxWait`. After that the next lock
  // is waited for at most a second, so that a run does not wait as long for each of its writes.
  WriteLocks(std::filesystem::path root, std::chrono::milliseconds maxWait)
      : root_(std::move(root)), maxWait_(maxWait) {}

  // Runs an action that decides and writes, with the lock of the file `target` as its argument.
  // Where the lock was lost before anything was written, it decides again. Throws what the action
  // throws, std::system_error when the lock cannot be had, std::runtime_error when there is no
  // tree: its path was mistyped, and nothing is created below it.
  template <class Action>
  auto underLock(const std::filesystem::path& target, const Action& action) {
    while (true) {
      const FileLock lock = take(target);
      removeLeftovers(target);
      try {
        return action(lock);
      } catch (const LockLost& loss) {
        logWarn(kStoreLog, "Writing %s again: %s", pathToText(target), loss.what());
      }
    }
  }

  // True when a write was given up because another process kept its lock.
  bool hasGivenUp() const { return hasGivenUp_; }

 private:
  FileLock take(const std::filesystem::path& target);

  std::filesystem::path root_;
  std::chrono::milliseconds maxWait_;
  bool hasGivenUp_ = false;
  bool hasJustGivenUp_ = false;  // since the last lock
};

}  // namespace sourcetype
