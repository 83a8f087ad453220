// The progress of a scan, in one line of a terminal at standard error.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

namespace sourcetype {

// The line, in at most `width` columns: the files that are done, and, when `total` is not 0, their
// share and the time that is left.
std::string progressText(std::size_t done, std::size_t total, std::chrono::seconds elapsed,
                         unsigned width);

// Counts the files in a thread of its own, which makes the estimate possible.
class Progress {
 public:
  // Does nothing unless `isShown`.
  Progress(bool isShown, const std::vector<std::filesystem::path>& roots);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress();

  // Shows the line, at most ten times a second.
  void show(std::size_t done);
  // Removes the line, so that something else can be written.
  void clear();

 private:
  using Clock = std::chrono::steady_clock;

  void count(const std::vector<std::filesystem::path>& roots);

  bool isShown_;
  std::size_t columns_ = 0;  // of the line that is on the terminal
  Clock::time_point start_ = Clock::now();
  Clock::time_point lastShown_;
  std::atomic<std::size_t> total_ = 0;  // 0 until the files are counted
  std::atomic<bool> isStopped_ = false;
  std::thread counter_;
};

}  // namespace sourcetype
