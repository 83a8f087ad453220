# What sourcetype-inspect alone links: dependency::cli11, ::json and ::libarchive. A program that
# links the installed library needs none of them.
if(WIN32)
  return() # WindowsDependencies.cmake has them all
endif()
find_package(CLI11 REQUIRED)
find_package(nlohmann_json REQUIRED)
add_library(dependency::cli11 ALIAS CLI11::CLI11)
add_library(dependency::json ALIAS nlohmann_json::nlohmann_json)
pkg_check_modules(sourcetype_libarchive REQUIRED IMPORTED_TARGET libarchive)
add_library(dependency::libarchive ALIAS PkgConfig::sourcetype_libarchive)
