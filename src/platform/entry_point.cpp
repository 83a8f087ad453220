#include "platform/entry_point.h"

#include <cstdio>
#include <cstdlib>
#include <new>

namespace sourcetype {

void endRunWhenMemoryRunsOut() {
  std::set_new_handler([] {
    static_cast<void>(std::fputs("Out of memory.  Stopping.\n", stderr));
    std::_Exit(kRunFailed);
  });
}

}  // namespace sourcetype
