# Builds for 64-bit Windows with the mingw-w64 cross compiler, and runs what was built under wine.
# The libraries are those of tools/windows/build_dependencies.sh.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR x86_64)

# The compiler with POSIX threads: the other one has no std::mutex.
set(CMAKE_C_COMPILER x86_64-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER x86_64-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER x86_64-w64-mingw32-windres)

get_filename_component(windows_tools "${CMAKE_CURRENT_LIST_DIR}/../tools/windows" ABSOLUTE)
if(NOT DEFINED ENV{SOURCETYPE_WINDOWS_PREFIX})
  execute_process(COMMAND "${windows_tools}/build_dependencies.sh" --where
                  OUTPUT_VARIABLE where OUTPUT_STRIP_TRAILING_WHITESPACE
                  COMMAND_ERROR_IS_FATAL ANY)
  set(ENV{SOURCETYPE_WINDOWS_PREFIX} "${where}")
endif()
set(CMAKE_FIND_ROOT_PATH "$ENV{SOURCETYPE_WINDOWS_PREFIX}")
set(CMAKE_PREFIX_PATH "$ENV{SOURCETYPE_WINDOWS_PREFIX}")
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

# One self-contained file: no DLL but the system's own.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_EXE_LINKER_FLAGS_RELEASE_INIT "-s")
set(CMAKE_CROSSCOMPILING_EMULATOR "${windows_tools}/wine_run.sh")
