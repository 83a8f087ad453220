#include <gtest/gtest.h>

#include "platform/path_form.h"
#include "platform/windows_api.h"
#include "support/process.h"
#include "support/system.h"

namespace sourcetype::testing {
namespace {

// One word of a command line, as the system's own splitting reads it back: backslashes count
// double where a quotation mark follows.
std::wstring commandWord(const std::wstring& word) {
  std::wstring result = L"\"";
  std::size_t backslashes = 0;
  for (const wchar_t c : word) {
    if (c == L'"') result.append(backslashes + 1, L'\\');
    backslashes = c == L'\\' ? backslashes + 1 : 0;
    result += c;
  }
  return result.append(backslashes, L'\\') + L"\"";
}

// A file that a child process inherits as one of its standard streams.
HANDLE openForChild(const std::filesystem::path& path, DWORD access, DWORD disposition) {
  SECURITY_ATTRIBUTES inherited{
      .nLength = sizeof(SECURITY_ATTRIBUTES), .lpSecurityDescriptor = nullptr, .bInheritHandle = 1};
  return CreateFileW(path.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE, &inherited,
                     disposition, 0, nullptr);
}

void setVariable(const char* name, const std::filesystem::path& value) {
  SetEnvironmentVariableW(pathFromText(name).c_str(), value.c_str());
}

void unsetVariable(const char* name) {
  SetEnvironmentVariableW(pathFromText(name).c_str(), nullptr);
}

}  // namespace

Finished Installation::runProgram(std::string_view program, const std::vector<std::string>& words,
                                  std::string_view input, const std::string& home) const {
  write(".in", input);
  if (home == "-") {
    unsetVariable("TARNEL_HOME");
  } else {
    setVariable("TARNEL_HOME", home == "." ? root() : pathFromText(home));
  }
  std::wstring command = commandWord(pathFromText(program).native());
  for (const auto& word : words) command += L" " + commandWord(pathFromText(word).native());

  STARTUPINFOW start{};
  start.cb = sizeof(start);
  start.dwFlags = STARTF_USESTDHANDLES;
  start.hStdInput = openForChild(path(".in"), GENERIC_READ, OPEN_EXISTING);
  start.hStdOutput = openForChild(path(".out"), GENERIC_WRITE, CREATE_ALWAYS);
  start.hStdError = openForChild(path(".err"), GENERIC_WRITE, CREATE_ALWAYS);
  PROCESS_INFORMATION process{};
  DWORD status = 0;
  if (CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE, 0, nullptr, root().c_str(),
                     &start, &process)) {
    WaitForSingleObject(process.hProcess, INFINITE);
    GetExitCodeProcess(process.hProcess, &status);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
  } else {
    ADD_FAILURE() << "cannot start " << program << ": error " << GetLastError();
  }
  for (const HANDLE stream : {start.hStdInput, start.hStdOutput, start.hStdError}) {
    CloseHandle(stream);
  }
  return {.status = static_cast<int>(status), .out = read(".out"), .err = read(".err")};
}

}  // namespace sourcetype::testing
