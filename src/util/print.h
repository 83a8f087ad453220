// Prints bytes unchanged.
#pragma once

#include <fmt/core.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace sourcetype {

// Like fmt::print(). On a Windows console that function converts its text to UTF-16 and throws if
// it is not UTF-8, which names and values need not be. Throws std::system_error if writing fails.
template <class... Args>
void printText(fmt::format_string<Args...> format, Args&&... args) {
  const std::string text = fmt::format(format, std::forward<Args>(args)...);
  if (std::fwrite(text.data(), 1, text.size(), stdout) < text.size()) {
    throw std::system_error(errno, std::generic_category(), "cannot write to file");
  }
}

}  // namespace sourcetype
