// Printing bytes as they are.
#pragma once

#include <fmt/core.h>

#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

namespace sourcetype {

// As fmt::print(), which would turn what goes to a Windows console into UTF-16 and throw where that
// cannot be done: names and values need not be UTF-8.
template <class... Args>
void printText(fmt::format_string<Args...> format, Args&&... args) {
  const std::string text = fmt::format(format, std::forward<Args>(args)...);
  if (std::fwrite(text.data(), 1, text.size(), stdout) < text.size()) {
    throw std::system_error(errno, std::generic_category(), "cannot write to file");
  }
}

}  // namespace sourcetype
