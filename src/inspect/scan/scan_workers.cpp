#include "inspect/scan/scan_workers.h"

#include <optional>
#include <utility>

namespace sourcetype {

ScanWorkers::ScanWorkers(const std::filesystem::path& etc, std::vector<std::filesystem::path> roots,
                         std::size_t threadCount, RowQueue& rows,
                         const FileScanner::Examiner& examine)
    : rows_(rows), walk_(std::move(roots)) {
  for (std::size_t i = 0; i < threadCount; ++i) {
    threads_.emplace_back([this, etc, examine] { work(etc, examine); });
  }
}

ScanWorkers::~ScanWorkers() {
  isStopped_ = true;
  rows_.stop();
  for (auto& thread : threads_) thread.join();
}

void ScanWorkers::work(const std::filesystem::path& etc, const FileScanner::Examiner& examine) {
  std::optional<FileScanner> scanner;  // reads the configuration: not in a thread without a file
  FileWalk::Found found;
  std::size_t item = 0;
  while (!isStopped_ && take(found, item)) {
    if (!scanner) scanner.emplace(etc, examine);
    scanner->scan(found, [&](ScanRow row) { rows_.push(item, std::move(row)); });
    rows_.finish(item);
  }
}

// Takes the next file and its number. False at the end.
bool ScanWorkers::take(FileWalk::Found& found, std::size_t& item) {
  const std::scoped_lock lock(mutex_);
  auto next = walk_.next();
  if (!next) {
    rows_.close(nextItem_);
    return false;
  }
  found = std::move(*next);
  item = nextItem_++;
  return true;
}

}  // namespace sourcetype
