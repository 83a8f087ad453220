// The memory that a match writes to, reused by later matches. Private to util/regex.cpp and its
// parts.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "util/pcre_code.h"

namespace sourcetype::pcre {

// Groups reported at most, group 0 included: an offset vector of 1024 integers, three a group.
constexpr std::uint32_t kMaxGroups = 341;

// Steps back that the library may take from one start position. The interpreter's searches reach
// their own limit first; machine code has no other.
constexpr std::uint32_t kMatchLimit = 1'000'000;

struct Extent {
  std::size_t start;
  std::size_t end;
};

// What matching writes to, which allocates nothing once it has grown.
struct Workspace {
  PcrePtr<pcre2_match_data> data = owned(pcre2_match_data_create(kMaxGroups, memoryContext()));
  PcrePtr<pcre2_match_context> context = owned(pcre2_match_context_create(memoryContext()));
  PcrePtr<pcre2_jit_stack> jitStack;
  std::unique_ptr<Workspace> next;  // among the spare ones

  Workspace();

  // Start and end of the groups of the last match.
  const PCRE2_SIZE* offsets() const { return pcre2_get_ovector_pointer(data.get()); }
  Extent lastMatch() const { return {.start = offsets()[0], .end = offsets()[1]}; }
};

// A workspace for the time of one match and of reading what it found. A thread_local one would do
// without a lock, but those of mingw-w64 may have lost their memory when they are destroyed.
class UsedWorkspace {
 public:
  UsedWorkspace();
  UsedWorkspace(const UsedWorkspace&) = delete;
  UsedWorkspace& operator=(const UsedWorkspace&) = delete;
  ~UsedWorkspace();

  Workspace& operator*() const { return *space_; }
  Workspace* operator->() const { return space_.get(); }

 private:
  std::unique_ptr<Workspace> space_;
};

}  // namespace sourcetype::pcre
