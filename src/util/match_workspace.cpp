#include "util/match_workspace.h"

#include <atomic>
#include <mutex>
#include <utility>

namespace sourcetype::pcre {
namespace {

// KiB of backtracking frames of the interpreter: enough for about 10^5 repetitions of a group.
constexpr std::uint32_t kHeapLimitKib = 32 * 1024;

// Bytes of stack for machine code. This is address space; pages take memory once they are used.
constexpr std::size_t kJitStackStart = std::size_t{32} * 1024;
constexpr std::size_t kJitStackMax = std::size_t{4} * 1024 * 1024;

// Workspaces that no match uses; there are as many as the highest number of matches at one time.
// With one match at a time only `first_` is used, which needs no lock.
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

// Never destroyed: destructors of static objects may match expressions.
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
