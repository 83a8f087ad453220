# Every library that the product links, each used in one place of src/ (docs/architecture.md). Found
# as the system keeps them, and named alike: dependency::pcre2, ::log4cpp, ::libxml2 and ::libxslt;
# and ::libacl where there is one. This file is installed too: a program that links the static
# library links these.
if(WIN32)
  include(WindowsDependencies)
else()
  find_package(PkgConfig REQUIRED)
  foreach(library pcre2=libpcre2-8 log4cpp=log4cpp libxml2=libxml-2.0 libxslt=libxslt libacl=libacl)
    string(REPLACE "=" ";" library "${library}")
    list(GET library 0 name)
    list(GET library 1 module)
    pkg_check_modules(sourcetype_${name} REQUIRED IMPORTED_TARGET ${module})
    if(NOT TARGET dependency::${name})
      add_library(dependency::${name} ALIAS PkgConfig::sourcetype_${name})
    endif()
  endforeach()
endif()
find_package(fmt REQUIRED)
find_package(Iconv REQUIRED)
