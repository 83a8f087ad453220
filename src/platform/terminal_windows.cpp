#include <initializer_list>

#include "platform/terminal.h"
#include "platform/windows_api.h"

namespace sourcetype {
namespace {

constexpr unsigned kUsualWidth = 80;

// Consoles before Windows 10 do not have it, and neither do the oldest headers.
constexpr DWORD kVirtualTerminal = 0x0004;

HANDLE handleOf(StandardStream stream) {
  switch (stream) {
    case StandardStream::Input:
      return ::GetStdHandle(STD_INPUT_HANDLE);
    case StandardStream::Output:
      return ::GetStdHandle(STD_OUTPUT_HANDLE);
    case StandardStream::Error:
      break;
  }
  return ::GetStdHandle(STD_ERROR_HANDLE);
}

bool enableOn(HANDLE console) {
  DWORD mode = 0;
  if (::GetConsoleMode(console, &mode) == 0) return false;
  return ::SetConsoleMode(console, mode | kVirtualTerminal) != 0;
}

}  // namespace

bool isTerminal(StandardStream stream) {
  DWORD mode = 0;
  return ::GetConsoleMode(handleOf(stream), &mode) != 0;
}

unsigned terminalWidth() {
  for (const auto stream : {StandardStream::Output, StandardStream::Error}) {
    CONSOLE_SCREEN_BUFFER_INFO console{};
    if (::GetConsoleScreenBufferInfo(handleOf(stream), &console) == 0) continue;
    const auto width = console.srWindow.Right - console.srWindow.Left + 1;
    if (width > 0) return static_cast<unsigned>(width);
  }
  return kUsualWidth;
}

bool enableEscapeSequences() {
  const bool isOutputReady = enableOn(handleOf(StandardStream::Output));
  return enableOn(handleOf(StandardStream::Error)) || isOutputReady;
}

}  // namespace sourcetype
