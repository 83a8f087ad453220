#include <atomic>

#include "platform/interrupt.h"
#include "platform/windows_api.h"

namespace sourcetype {
namespace {

std::atomic<bool> isInterrupted = false;  // the system calls the handler in a thread of its own

BOOL WINAPI handleInterrupt(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  return isInterrupted.exchange(true) ? FALSE : TRUE;  // FALSE lets the system end the process
}

}  // namespace

bool interrupted() {
  return isInterrupted;
}

InterruptGuard::InterruptGuard() {
  ::SetConsoleCtrlHandler(handleInterrupt, TRUE);
}

InterruptGuard::~InterruptGuard() {
  ::SetConsoleCtrlHandler(handleInterrupt, FALSE);
}

}  // namespace sourcetype
