#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "platform/entry_point.h"
#include "platform/path_form.h"

namespace {

// An opened file gets the lowest free descriptor. If the caller closed a standard descriptor,
// results or error messages would be written into that file. So closed standard descriptors are
// opened here: input for writing, output for reading, so that using them fails as if they were
// closed.
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
