#include <cerrno>

#include "platform/system_error.h"

namespace sourcetype {

std::error_code lastSystemError() {
  return {errno, std::system_category()};
}

}  // namespace sourcetype
