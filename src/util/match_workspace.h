// The memory that a match writes to; later matches reuse it. Private to regex.cpp and
// budgeted_search.
//
//   const UsedWorkspace space;
//   if (execute(*space, code, subject, 0, lastStart) >= 0) use(space->lastMatch());
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include "util/pcre_code.h"

namespace sourcetype::pcre {

// Groups that a match reports, including group 0: an offset vector of 1024 integers, three a group.
constexpr std::uint32_t kMaxGroups = 341;

// Steps back that the library may take from one start position. Metered searches reach their own
// limit first; machine code has no other limit.
constexpr std::uint32_t kMatchLimit = 1'000'000;

struct Extent {
  std::size_t start;
  std::size_t end;
};

// Once it has grown, matching allocates nothing.
struct Workspace {
  PcrePtr<pcre2_match_data> data = owned(pcre2_match_data_create(kMaxGroups, memoryContext()));
  PcrePtr<pcre2_match_context> context = owned(pcre2_match_context_create(memoryContext()));
  PcrePtr<pcre2_jit_stack> jitStack;
  std::unique_ptr<Workspace> next;  // in the list of spare workspaces

  Workspace();

  // Start and end of the groups of the last match.
  const PCRE2_SIZE* offsets() const { return pcre2_get_ovector_pointer(data.get()); }
  Extent lastMatch() const { return {.start = offsets()[0], .end = offsets()[1]}; }
};

// Takes a spare workspace for one match and the reading of its result, and returns it afterwards. A
// thread_local workspace would need no lock, but with mingw-w64 its memory may be gone when it is
// destroyed.
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
