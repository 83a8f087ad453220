// Tells one version of a file from another.
#pragma once

#include <cstdint>

namespace sourcetype {

// The place of a file on the disk, its size and the time of its last change. Two versions of a file
// never compare equal, unless somebody sets its times back.
struct FileIdentity {
  std::uint64_t device = 0;
  std::uint64_t number = 0;
  std::uint64_t size = 0;
  std::int64_t modified = 0;  // nanoseconds since 1970

  friend bool operator==(const FileIdentity&, const FileIdentity&) = default;
};

}  // namespace sourcetype
