// Runs the built executable.
#pragma once

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "support/temp_tree.h"

namespace sourcetype::testing {

struct Finished {
  int status;
  std::string out;
  std::string err;
};

// A server directory of its own, with the bundled configuration, and the tool run in it.
class Installation : public TempTree {
 public:
  Installation();

  // Runs the tool with these words in the directory's root, which is TARNEL_HOME unless `home` says
  // otherwise ("-" leaves it unset), and `input` on its standard input.
  Finished run(const std::vector<std::string>& words, std::string_view input = {},
               const std::string& home = ".") const;
  // The same for another program of the build.
  Finished runProgram(std::string_view program, const std::vector<std::string>& words,
                      std::string_view input = {}, const std::string& home = ".") const;
};

// The value that a printed map gives a key; "(absent)" when it has none.
std::string valueOf(const std::string& printed, const std::string& key);

}  // namespace sourcetype::testing
