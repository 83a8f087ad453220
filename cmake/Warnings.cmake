# One target carries the warning flags, so that no source escapes them.
option(SOURCETYPE_WARNINGS_AS_ERRORS "Treat warnings as errors" OFF)

add_library(sourcetype_warnings INTERFACE)
target_compile_options(sourcetype_warnings INTERFACE
  -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_LESS 13)
  # GCC bug 105651: "x" + std::string warns of an overlap that cannot be.
  target_compile_options(sourcetype_warnings INTERFACE -Wno-restrict)
endif()
if(SOURCETYPE_WARNINGS_AS_ERRORS)
  target_compile_options(sourcetype_warnings INTERFACE -Werror)
endif()
