// How many log records of one kind are worth writing.
#pragma once

#include <cstddef>

namespace sourcetype {

// Counts the records of one kind about one object, such as a file. The first ones are written; of
// the others only their number, in a last record.
class RecordLimit {
 public:
  static constexpr std::size_t kMaxRecords = 20;

  // Counts a record. True when it is to be written.
  bool admit() { return ++count_ <= kMaxRecords; }

  // The records that were not written.
  std::size_t omitted() const { return count_ > kMaxRecords ? count_ - kMaxRecords : 0; }

 private:
  std::size_t count_ = 0;
};

}  // namespace sourcetype
