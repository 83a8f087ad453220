#include "inspect/scan/row_queue.h"

#include <utility>

namespace sourcetype {

// The first file may always have one row in the queue: the rows of the others wait for it.
bool RowQueue::mayPush(std::size_t item) {
  if (isStopped_ || waiting_ < kMaxWaiting) return true;
  return item == first_ && items_[item].rows.empty();
}

void RowQueue::push(std::size_t item, ScanRow row) {
  std::unique_lock lock(mutex_);
  taken_.wait(lock, [&] { return mayPush(item); });
  if (isStopped_) return;
  items_[item].rows.push_back(std::move(row));
  ++waiting_;
  if (item == first_) changed_.notify_one();
}

void RowQueue::finish(std::size_t item) {
  const std::scoped_lock lock(mutex_);
  items_[item].isFinished = true;
  if (item == first_) changed_.notify_one();
}

void RowQueue::close(std::size_t itemCount) {
  const std::scoped_lock lock(mutex_);
  itemCount_ = itemCount;
  changed_.notify_one();
}

void RowQueue::stop() {
  const std::scoped_lock lock(mutex_);
  isStopped_ = true;
  taken_.notify_all();
}

void RowQueue::dropFinished() {
  for (auto item = items_.find(first_);
       item != items_.end() && item->second.isFinished && item->second.rows.empty();
       item = items_.find(first_)) {
    items_.erase(item);
    ++first_;
    taken_.notify_all();
  }
}

RowQueue::Next RowQueue::next(std::chrono::milliseconds patience, ScanRow& row) {
  std::unique_lock lock(mutex_);
  const auto hasNews = [&] {
    dropFinished();
    const auto item = items_.find(first_);
    return first_ >= itemCount_ || (item != items_.end() && !item->second.rows.empty());
  };
  if (!changed_.wait_for(lock, patience, hasNews)) return Next::Wait;
  if (first_ >= itemCount_) return Next::End;
  auto& rows = items_[first_].rows;
  row = std::move(rows.front());
  rows.pop_front();
  --waiting_;
  taken_.notify_all();
  return Next::Row;
}

std::size_t RowQueue::itemsDone() {
  const std::scoped_lock lock(mutex_);
  return first_;
}

}  // namespace sourcetype
