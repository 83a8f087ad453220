#include "platform/file_lock.h"

#include <algorithm>
#include <condition_variable>
#include <mutex>
#include <optional>
#include <string>
#include <system_error>
#include <thread>

#include "platform/file_system.h"
#include "platform/lock_file.h"
#include "platform/path_form.h"
#include "platform/system_error.h"

namespace sourcetype {
namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

// How often a waiting process looks which process holds the lock.
constexpr milliseconds kLookInterval{100};

std::string holderName(const LockHolder& holder) {
  return holder.process == 0 ? "another process" : "process " + std::to_string(holder.process);
}

// A place in the line of processes that wait for a lock. No system can wait for a lock and for a
// time at once, so a thread waits for the lock. If the wait is given up, the thread goes on with an
// open lock file of its own and releases the lock as soon as it gets it.
class PlaceInLine {
 public:
  explicit PlaceInLine(const std::shared_ptr<LockFile>& file) : answer_(new Answer) {
    std::thread([waiting = file, answer = answer_]() mutable {
      const auto error = waiting->lock();
      const std::scoped_lock lock(answer->mutex);
      waiting.reset();  // from now on the constructing thread alone keeps the lock
      answer->error = error;
      answer->arrived.notify_one();
    }).detach();
  }

  // The result of the attempt: an error, or none if the lock is held. Empty after `time`.
  std::optional<std::error_code> waitFor(milliseconds time) {
    std::unique_lock lock(answer_->mutex);
    answer_->arrived.wait_for(lock, time, [&] { return answer_->error.has_value(); });
    return answer_->error;
  }

 private:
  struct Answer {
    std::mutex mutex;
    std::condition_variable arrived;
    std::optional<std::error_code> error;
  };
  std::shared_ptr<Answer> answer_;
};

// Returns false if the file was deleted meanwhile.
bool waitInLine(const std::shared_ptr<LockFile>& file, const std::filesystem::path& path,
                milliseconds maxHold) {
  PlaceInLine place(file);
  LockHolder holder = file->holder();
  auto since = steady_clock::now();
  while (true) {
    if (const auto answer = place.waitFor(std::min(kLookInterval, maxHold))) {
      if (*answer) throwError(*answer, "cannot lock", path);
      return true;
    }
    if (!file->isInPlace()) return false;
    const LockHolder now = file->holder();
    if (now != holder) {
      holder = now;
      since = steady_clock::now();
    } else if (steady_clock::now() - since >= maxHold) {
      throwError(std::make_error_code(std::errc::timed_out), holderName(holder) + " holds the lock",
                 path);
    }
  }
}

}  // namespace

FileLock::FileLock(const std::filesystem::path& lockPath, milliseconds maxHold) : path_(lockPath) {
  createDirectories(directoryOf(lockPath));
  while (true) {
    const auto file = std::make_shared<LockFile>(lockPath);
    const auto error = file->tryLock();
    if (error && error != std::errc::resource_unavailable_try_again) {
      throwError(error, "cannot lock", lockPath);
    }
    const bool isLocked = !error || waitInLine(file, lockPath, maxHold);
    if (isLocked && file->isInPlace()) {
      file->announce();
      file_ = file;
      return;
    }
  }
}

FileLock::~FileLock() = default;

void FileLock::ensureHeld() const {
  if (file_ == nullptr) return;
  if (!file_->isInPlace()) throw LockLost("the lock file " + pathToText(path_) + " was deleted");
}

}  // namespace sourcetype
