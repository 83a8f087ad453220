// Puts the rows of files that several threads examine into the order of the files.
//
//   RowQueue rows;
//   rows.push(item, row); rows.finish(item);     // in a thread, for the file with that number
//   rows.close(count);                           // in the thread that finds no more files
//   while (rows.next(wait, row) != RowQueue::Next::End) ...  // in the thread that prints
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <map>
#include <mutex>

#include "inspect/scan/scan_row.h"

namespace sourcetype {

class RowQueue {
 public:
  // Rows that wait for those of an earlier file or for next(). Limits the memory when one file
  // takes long.
  static constexpr std::size_t kMaxWaiting = 2000;

  // Adds a row of a file. Waits while there are too many rows; after stop(), drops the row instead.
  void push(std::size_t item, ScanRow row);
  // The file has no further rows.
  void finish(std::size_t item);
  // There are no further files.
  void close(std::size_t itemCount);
  // Ends the waits of push(). Call it when nobody calls next() any more.
  void stop();

  enum class Next { Row, Wait, End };
  // Takes the next row, the rows of the first file first. Wait: there is none after `patience`.
  Next next(std::chrono::milliseconds patience, ScanRow& row);

  // The number of files whose rows were all taken.
  std::size_t itemsDone();

 private:
  struct Item {
    std::deque<ScanRow> rows;
    bool isFinished = false;
  };

  bool mayPush(std::size_t item);
  void dropFinished();

  std::mutex mutex_;
  std::condition_variable changed_;  // for next()
  std::condition_variable taken_;    // for push()
  std::map<std::size_t, Item> items_;
  std::size_t first_ = 0;    // the file whose rows are taken
  std::size_t waiting_ = 0;  // rows of all files
  std::size_t itemCount_ = ~std::size_t{0};
  bool isStopped_ = false;
};

}  // namespace sourcetype
