// The start of the program. Hides in which form the system passes the command line.
#pragma once

#include <filesystem>
#include <span>
#include <string>

namespace sourcetype {

// The exit status of a run that could not be completed. A run with wrong options has another one.
inline constexpr int kRunFailed = 2;

// Makes a run that gets no more memory end at once, with kRunFailed and a message, as if it had
// been killed: going on with a part of the data could give a wrong answer. To be called first.
void endRunWhenMemoryRunsOut();

// One word of the command line: `path` opens a file, `text` serves every other purpose.
struct Argument {
  std::filesystem::path path;
  std::string text;
};

// The program. Called by the system's entry point, with the name by which the program was invoked
// as the first argument. Returns the exit status.
int programMain(std::span<const Argument> arguments);

}  // namespace sourcetype
