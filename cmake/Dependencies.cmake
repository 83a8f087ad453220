# Every library that the product links, each used in one place of src/ (docs/architecture.md).
find_package(PkgConfig REQUIRED)
pkg_check_modules(PCRE2 REQUIRED IMPORTED_TARGET libpcre2-8)
pkg_check_modules(LOG4CPP REQUIRED IMPORTED_TARGET log4cpp)
pkg_check_modules(LIBXML2 REQUIRED IMPORTED_TARGET libxml-2.0)
pkg_check_modules(LIBXSLT REQUIRED IMPORTED_TARGET libxslt)
find_package(fmt REQUIRED)
find_package(Iconv REQUIRED)
