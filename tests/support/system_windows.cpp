#include <gtest/gtest.h>

#include <initializer_list>

#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/windows_api.h"
#include "support/system.h"

namespace sourcetype::testing {
namespace {

bool saysOneOf(std::initializer_list<DWORD> codes, const std::string& text) {
  for (const DWORD code : codes) {
    SetLastError(code);
    if (text.find(lastSystemError().message()) != text.npos) return true;
  }
  return false;
}

}  // namespace

const bool kHasFifos = false;
const bool kHasSymbolicLinks = false;
const bool kHasPermissionBits = false;
const bool kNamesAreAnyBytes = false;
const char* const kDevice = "NUL";
const int kMinusOneAsStatus = -1;

void makeFifo(const std::filesystem::path& path) {
  FAIL() << "there are none: " << path;
}

bool saysMissing(const std::string& text) {
  // The second from the C library's own functions.
  return saysOneOf({ERROR_FILE_NOT_FOUND, ERROR_PATH_NOT_FOUND}, text) ||
         text.find("No such file or directory") != text.npos;
}

}  // namespace sourcetype::testing
