#include "platform/interrupt.h"

#include <csignal>

namespace sourcetype {
namespace {

volatile std::sig_atomic_t isInterrupted = 0;
struct sigaction actionBefore {};

}  // namespace

bool interrupted() {
  return isInterrupted != 0;
}

InterruptGuard::InterruptGuard() {
  struct sigaction action {};
  action.sa_handler = [](int) { isInterrupted = 1; };
  action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
  ::sigaction(SIGINT, nullptr, &actionBefore);
  if (actionBefore.sa_handler != SIG_IGN) ::sigaction(SIGINT, &action, nullptr);
}

InterruptGuard::~InterruptGuard() {
  ::sigaction(SIGINT, &actionBefore, nullptr);
}

}  // namespace sourcetype
