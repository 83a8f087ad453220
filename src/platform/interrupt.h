// Ctrl-C, for a run that ends with what it has done so far:
//
//   const InterruptGuard guard;
//   while (!interrupted() && hasMore()) work();
#pragma once

namespace sourcetype {

// True after Ctrl-C (on POSIX systems: SIGINT) while an InterruptGuard lived.
bool interrupted();

// While the object lives, the first Ctrl-C makes interrupted() true and does not end the process. The
// second one ends it. Only one object may live. Ctrl-C is still ignored if the caller of the
// process had it ignored.
class InterruptGuard {
 public:
  InterruptGuard();
  InterruptGuard(const InterruptGuard&) = delete;
  InterruptGuard& operator=(const InterruptGuard&) = delete;
  ~InterruptGuard();
};

}  // namespace sourcetype
