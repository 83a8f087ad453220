#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>
#include <initializer_list>
#include <string_view>

#include "platform/terminal.h"

namespace sourcetype {
namespace {

constexpr unsigned kUsualWidth = 80;

int descriptorOf(StandardStream stream) {
  switch (stream) {
    case StandardStream::Input:
      return STDIN_FILENO;
    case StandardStream::Output:
      return STDOUT_FILENO;
    case StandardStream::Error:
      break;
  }
  return STDERR_FILENO;
}

}  // namespace

bool isTerminal(StandardStream stream) {
  return ::isatty(descriptorOf(stream)) == 1;
}

unsigned terminalWidth() {
  for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
    winsize size{};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
  }
  return kUsualWidth;
}

bool enableEscapeSequences() {
  const char* const terminal = std::getenv("TERM");  // NOLINT(concurrency-mt-unsafe)
  return terminal != nullptr && std::string_view(terminal) != "dumb";
}

}  // namespace sourcetype
