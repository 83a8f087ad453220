#include <fcntl.h>
#include <io.h>

#include <cstdio>
#include <cstdlib>
#include <vector>

#include "platform/entry_point.h"
#include "platform/path_form.h"
#include "platform/windows_api.h"

// Words are used as the shell passes them; the run-time library must not expand a "*" in them.
// NOLINTNEXTLINE(readability-identifier-naming): the run-time library's name
extern "C" int _dowildcard;
int _dowildcard = 0;  // NOLINT(readability-identifier-naming): see above

namespace {

// The code page of the console before the run. Other programs use the same console.
UINT consoleCodePage = 0;

void restoreConsole() {
  if (consoleCodePage != 0) SetConsoleOutputCP(consoleCodePage);
}

BOOL WINAPI restoreConsoleWhenInterrupted(DWORD /*event*/) {
  restoreConsole();
  return FALSE;  // go on to end the process
}

// Makes all output UTF-8 with LF line ends, on a console as in a file. Closed standard descriptors
// need no care: the run-time library never uses 0 to 2 for other files.
void prepareOutput() {
  for (FILE* stream : {stdout, stderr}) _setmode(_fileno(stream), _O_BINARY);
  _fmode = _O_BINARY;  // files that libraries open
  consoleCodePage = GetConsoleOutputCP();
  if (consoleCodePage == 0) return;  // there is no console
  SetConsoleOutputCP(CP_UTF8);
  static_cast<void>(std::atexit(restoreConsole));  // else the console keeps our code page
  SetConsoleCtrlHandler(restoreConsoleWhenInterrupted, TRUE);
}

}  // namespace

extern "C" int wmain(int argc, wchar_t** argv) {
  sourcetype::endRunWhenMemoryRunsOut();
  // A path on a drive without a disk fails; it does not open a dialogue and wait.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  prepareOutput();
  std::vector<sourcetype::Argument> arguments;
  for (const wchar_t* word : std::span(argv, static_cast<std::size_t>(argc))) {
    const std::filesystem::path path(word);
    arguments.push_back({.path = path, .text = sourcetype::pathToText(path)});
  }
  return sourcetype::programMain(arguments);
}
