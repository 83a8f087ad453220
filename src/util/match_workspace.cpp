#include "util/match_workspace.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace sourcetype::pcre {
namespace {

// KiB of backtracking frames in the interpreter: some 10^5 repetitions of a group.
constexpr std::uint32_t kHeapLimitKib = 32 * 1024;

// Bytes of stack for machine code: address space, of which pages come in as they are touched.
constexpr std::size_t kJitStackStart = std::size_t{32} * 1024;
constexpr std::size_t kJitStackMax = std::size_t{4} * 1024 * 1024;

// Workspaces that no match uses: as many as there were matches at a time. Where there is one at a
// time, the first is all that is needed, without a lock.
class SpareWorkspaces {
 public:
  std::unique_ptr<Workspace> take() {
    if (auto* first = first_.exchange(nullptr)) return std::unique_ptr<Workspace>(first);
    const std::scoped_lock lock(mutex_);
    auto taken = std::move(others_);
    if (!taken) return std::make_unique<Workspace>();
    others_ = std::move(taken->next);
    return taken;
  }

  void giveBack(std::unique_ptr<Workspace> space) noexcept {
    std::unique_ptr<Workspace> replaced(first_.exchange(space.release()));
    if (!replaced) return;
    const std::scoped_lock lock(mutex_);
    replaced->next = std::move(others_);
    others_ = std::move(replaced);
  }

 private:
  std::atomic<Workspace*> first_ = nullptr;
  std::mutex mutex_;
  std::unique_ptr<Workspace> others_;
};

// Stays until the process ends: expressions may be matched in destructors of static objects.
SpareWorkspaces& spare() {
  static auto& all = *new SpareWorkspaces;
  return all;
}

}  // namespace

Workspace::Workspace() : jitStack(pcre2_jit_stack_create(kJitStackStart, kJitStackMax, nullptr)) {
  pcre2_set_heap_limit(context.get(), kHeapLimitKib);
  pcre2_set_match_limit(context.get(), kMatchLimit);
  pcre2_jit_stack_assign(context.get(), nullptr, jitStack.get());
}

UsedWorkspace::UsedWorkspace() : space_(spare().take()) {}

UsedWorkspace::~UsedWorkspace() {
  spare().giveBack(std::move(space_));
}

}  // namespace sourcetype::pcre
