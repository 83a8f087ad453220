# What release builds carry against faults that the tests did not find; tools/check_hardening.sh
# looks for it in the executable. Debug and sanitizer builds find such faults themselves.
option(SOURCETYPE_HARDENING "Harden release builds" ON)

if(SOURCETYPE_HARDENING AND CMAKE_BUILD_TYPE STREQUAL "Release")
  # The library's own checks of indices, iterators and null pointers.
  add_compile_definitions(_GLIBCXX_ASSERTIONS)
  if(NOT WIN32)
    add_compile_options(-fstack-protector-strong -fstack-clash-protection -fPIE
                        -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=3)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
      add_compile_options(-fcf-protection=full) # CET: indirect jumps, return addresses
    endif()
    add_link_options(-pie -Wl,-z,relro,-z,now,-z,noexecstack)
  endif()
endif()
