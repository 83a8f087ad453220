// Limits the log records of one kind.
//
//   if (limit.admit()) logWarn(...);
//   ...
//   if (limit.omitted() > 0) logWarn(kLog, "%d more", limit.omitted());
#pragma once

#include <cstddef>

namespace sourcetype {

// Counts the records of one kind about one object, such as a file. The caller writes the first
// kMaxRecords of them, and at the end one record with the number of the others.
class RecordLimit {
 public:
  static constexpr std::size_t kMaxRecords = 20;

  // Counts a record. Returns whether to write it.
  bool admit() { return ++count_ <= kMaxRecords; }

  // The records that were not written.
  std::size_t omitted() const { return count_ > kMaxRecords ? count_ - kMaxRecords : 0; }

 private:
  std::size_t count_ = 0;
};

}  // namespace sourcetype
