// The error of a failed call of the operating system.
#pragma once

#include <system_error>

namespace sourcetype {

// The error of this thread's last failed call of the operating system. Its message() is the
// system's own text, in UTF-8 and without a line end.
std::error_code lastSystemError();

}  // namespace sourcetype
