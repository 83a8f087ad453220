#include <sys/wait.h>

#include <cstdlib>

#include "support/process.h"

namespace sourcetype::testing {
namespace {

// One word for the shell.
std::string shellWord(std::string_view word) {
  std::string result = "'";
  for (const char c : word) {
    if (c == '\'') {
      result += "'\\''";
    } else {
      result += c;
    }
  }
  return result + "'";
}

}  // namespace

Finished Installation::runProgram(std::string_view program, const std::vector<std::string>& words,
                                  std::string_view input, const std::string& home) const {
  write(".in", input);
  std::string command = "cd " + shellWord(root().native()) + " && env -u TARNEL_HOME ";
  if (home != "-")
    command += "TARNEL_HOME=" + shellWord(home == "." ? root().native() : home) + " ";
  command += shellWord(program);
  for (const auto& word : words) command += " " + shellWord(word);
  command += " < .in > .out 2> .err";
  const int status = std::system(command.c_str());
  return {.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status),
          .out = read(".out"),
          .err = read(".err")};
}

}  // namespace sourcetype::testing
