// The standard category asks for texts in the code page of the process, which is UTF-8 only where
// the manifest is understood (Windows 10, 1903); this one asks for UTF-16.
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

  // The system ends its texts in a full stop, blanks and a line end; other texts go on behind ours.
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
