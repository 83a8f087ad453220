#include "platform/path_form.h"

#include "platform/windows_api.h"

namespace sourcetype {

PathForm nativePathForm() {
  return kWindowsPathForm;
}

// A name may contain halves of surrogate pairs, which UTF-8 cannot express. Each becomes U+FFFD, as
// elsewhere on the system; the file itself is opened by the path, which keeps them.
std::string pathToText(const std::filesystem::path& path) {
  const std::wstring& name = path.native();
  const int size = static_cast<int>(name.size());
  std::string text(static_cast<std::size_t>(WideCharToMultiByte(CP_UTF8, 0, name.data(), size,
                                                                nullptr, 0, nullptr, nullptr)),
                   '\0');
  WideCharToMultiByte(CP_UTF8, 0, name.data(), size, text.data(), static_cast<int>(text.size()),
                      nullptr, nullptr);
  return text;
}

// Invalid UTF-8 becomes U+FFFD.
std::filesystem::path pathFromText(std::string_view text) {
  const int size = static_cast<int>(text.size());
  std::wstring name(
      static_cast<std::size_t>(MultiByteToWideChar(CP_UTF8, 0, text.data(), size, nullptr, 0)),
      L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), size, name.data(), static_cast<int>(name.size()));
  return name;
}

}  // namespace sourcetype
