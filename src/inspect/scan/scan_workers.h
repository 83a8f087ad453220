// The threads of a scan.
#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <mutex>
#include <thread>
#include <vector>

#include "inspect/scan/file_scanner.h"
#include "inspect/scan/file_walk.h"
#include "inspect/scan/row_queue.h"

namespace sourcetype {

// Examines the files below paths and puts their rows into a queue, until the object is destroyed:
// that waits for the files that are being read.
class ScanWorkers {
 public:
  // `etc` is the configuration tree. `rows` must outlive the object.
  ScanWorkers(const std::filesystem::path& etc, std::vector<std::filesystem::path> roots,
              std::size_t threadCount, RowQueue& rows, const FileScanner::Examiner& examine = {});
  ScanWorkers(const ScanWorkers&) = delete;
  ScanWorkers& operator=(const ScanWorkers&) = delete;
  ~ScanWorkers();

 private:
  void work(const std::filesystem::path& etc, const FileScanner::Examiner& examine);
  bool take(FileWalk::Found& found, std::size_t& item);

  RowQueue& rows_;
  std::mutex mutex_;  // for the two below
  FileWalk walk_;
  std::size_t nextItem_ = 0;
  std::atomic<bool> isStopped_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace sourcetype
