#include "support/process.h"

namespace sourcetype::testing {

Installation::Installation() {
  std::filesystem::copy(SOURCETYPE_ETC_DIR, path("etc"), std::filesystem::copy_options::recursive);
}

Finished Installation::run(const std::vector<std::string>& words, std::string_view input,
                           const std::string& home) const {
  return runProgram(SOURCETYPE_EXECUTABLE, words, input, home);
}

std::string valueOf(const std::string& printed, const std::string& key) {
  const auto begin = printed.find("\t" + key + " -> ");
  if (begin == printed.npos) return "(absent)";
  const auto value = begin + key.size() + 5;
  return printed.substr(value, printed.find('\n', value) - value);
}

}  // namespace sourcetype::testing
