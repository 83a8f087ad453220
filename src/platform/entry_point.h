// Where the program starts, whatever form the system gives the command line in.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace sourcetype {

// One word of the command line. A file is opened by `path`; `text` is for everything else.
struct Argument {
  std::filesystem::path path;
  std::string text;
};

// The program, called by the system's own entry point. `arguments` begin with the name by which it
// was invoked. Gives the exit status.
int programMain(std::span<const Argument> arguments);

}  // namespace sourcetype
