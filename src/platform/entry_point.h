// Where the program starts, whatever form the system gives the command line in.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace sourcetype {

// The exit status of a run that could not be completed, as against one whose options were refused.
inline constexpr int kRunFailed = 2;

// From here on a run that gets no more memory ends at once, with kRunFailed and a message, as if it
// had been killed: half of what it knows would give an answer that is wrong. Called first of all.
void endRunWhenMemoryRunsOut();

// One word of the command line. A file is opened by `path`; `text` is for everything else.
struct Argument {
  std::filesystem::path path;
  std::string text;
};

// The program, called by the system's own entry point. `arguments` begin with the name by which it
// was invoked. Gives the exit status.
int programMain(std::span<const Argument> arguments);

}  // namespace sourcetype
