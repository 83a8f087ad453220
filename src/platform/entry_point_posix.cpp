#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/entry_point.h"
#include "platform/path_form.h"

namespace {

// A file that is opened gets the lowest free descriptor. If that were a standard one, closed by the
// caller, results or error messages would be written into the file. The descriptors are opened the
// wrong way round, so that reading and writing fail as for closed ones.
void reserveStandardDescriptors() {
  for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    if (::fcntl(descriptor, F_GETFD) != -1 || errno != EBADF) continue;
    const int mode = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    if (::open("/dev/null", mode) != descriptor) std::_Exit(sourcetype::kRunFailed);
  }
}

}  // namespace

int main(int argc, char** argv) {
  reserveStandardDescriptors();
  sourcetype::endRunWhenMemoryRunsOut();
  std::vector<sourcetype::Argument> arguments;
  for (const char* word : std::span(argv, static_cast<std::size_t>(argc))) {
    arguments.push_back({.path = sourcetype::pathFromText(word), .text = word});
  }
  return sourcetype::programMain(arguments);
}
