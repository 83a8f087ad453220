# One target carries the warning flags, so that no source escapes them.
option(SOURCETYPE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

add_library(sourcetype_warnings INTERFACE)
target_compile_options(sourcetype_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
if(SOURCETYPE_WARNINGS_AS_ERRORS)
  target_compile_options(sourcetype_warnings INTERFACE -Werror)
endif()
