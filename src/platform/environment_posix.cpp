#include "platform/environment.h"

#include <unistd.h>

#include <cstdlib>
#include <ctime>

namespace sourcetype {
namespace {

std::chrono::nanoseconds timeOf(clockid_t clock) {
  timespec now{};
  ::clock_gettime(clock, &now);
  return std::chrono::seconds(now.tv_sec) + std::chrono::nanoseconds(now.tv_nsec);
}

}  // namespace

std::optional<std::filesystem::path> environmentPath(const char* name) {
  const char* value = std::getenv(name);  // NOLINT(concurrency-mt-unsafe): nothing sets variables
  if (value == nullptr || *value == '\0') return std::nullopt;
  return value;
}

std::uint32_t processId() {
  return static_cast<std::uint32_t>(::getpid());
}

std::chrono::nanoseconds coarseTime() {
#ifdef CLOCK_MONOTONIC_COARSE
  constexpr clockid_t kClock = CLOCK_MONOTONIC_COARSE;
#else
  constexpr clockid_t kClock = CLOCK_MONOTONIC;
#endif
  return timeOf(kClock);
}

std::chrono::nanoseconds threadTime() {
  return timeOf(CLOCK_THREAD_CPUTIME_ID);
}

}  // namespace sourcetype
