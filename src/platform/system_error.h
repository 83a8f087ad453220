// Errors of calls of the operating system.
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/path_form.h"

namespace sourcetype {

// The error of this thread's last failed call of the operating system. Its message() is the
// system's own text, in UTF-8 and without a line end.
std::error_code lastSystemError();

// `what` and the path come before the text of the error.
[[noreturn]] inline void throwError(std::error_code error, const std::string& what,
                                    const std::filesystem::path& path) {
  throw std::system_error(error, what + " " + pathToText(path));
}

}  // namespace sourcetype
