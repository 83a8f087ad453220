#include "support/process.h"

namespace sourcetype::testing {

Installation::Installation() {
  std::filesystem::copy(SOURCETYPE_ETC_DIR, path("etc"), std::filesystem::copy_options::recursive);
}

Finished Installation::run(const std::vector<std::string>& words, std::string_view input,
                           const std::string& home) const {
  return runProgram(SOURCETYPE_EXECUTABLE, words, input, home);
}

}  // namespace sourcetype::testing
