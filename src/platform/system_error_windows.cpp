// An error category with texts in UTF-8. The standard category returns them in the code page of the
// process, which is UTF-8 only since Windows 10, 1903, which understands the manifest.
#include <array>
#include <string>
#include <string_view>

#include "platform/path_form.h"
#include "platform/system_error.h"
#include "platform/windows_api.h"

namespace sourcetype {
namespace {

constexpr std::size_t kMaxMessage = 1024;  // characters; the longest text has some 300

class SystemErrors : public std::error_category {
 public:
  const char* name() const noexcept override { return "system"; }

  // Removes the full stop, the blanks and the line end of the system's text, since callers append.
  std::string message(int code) const override {
    std::array<wchar_t, kMaxMessage> text{};
    const DWORD size = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                                      nullptr, static_cast<DWORD>(code), 0, text.data(),
                                      static_cast<DWORD>(text.size()), nullptr);
    std::wstring_view rest(text.data(), size);
    const auto end = rest.find_last_not_of(L"\r\n\t .");
    if (end == std::wstring_view::npos) return "error " + std::to_string(code);
    return pathToText(std::filesystem::path(rest.substr(0, end + 1)));
  }

  std::error_condition default_error_condition(int code) const noexcept override {
    return std::system_category().default_error_condition(code);
  }
};

}  // namespace

std::error_code lastSystemError() {
  static const SystemErrors kSystemErrors;
  return {static_cast<int>(GetLastError()), kSystemErrors};
}

}  // namespace sourcetype
