# Static libraries, from tools/windows/build_dependencies.sh or, in a native build, from vcpkg.
set(PCRE2_USE_STATIC_LIBS ON)
find_package(PCRE2 CONFIG REQUIRED COMPONENTS 8BIT)
find_package(LibXml2 CONFIG REQUIRED)
find_package(LibXslt CONFIG REQUIRED)
find_path(LOG4CPP_INCLUDE_DIR log4cpp/Category.hh REQUIRED)
find_library(LOG4CPP_LIBRARY log4cpp REQUIRED)

add_library(dependency::pcre2 INTERFACE IMPORTED)
target_link_libraries(dependency::pcre2 INTERFACE PCRE2::8BIT)
target_compile_definitions(dependency::pcre2 INTERFACE PCRE2_STATIC)

add_library(dependency::libxml2 ALIAS LibXml2::LibXml2)

add_library(dependency::libxslt INTERFACE IMPORTED)
target_link_libraries(dependency::libxslt INTERFACE LibXslt::LibXslt)
target_compile_definitions(dependency::libxslt INTERFACE LIBXSLT_STATIC)

add_library(dependency::log4cpp INTERFACE IMPORTED)
target_include_directories(dependency::log4cpp INTERFACE "${LOG4CPP_INCLUDE_DIR}")
target_link_libraries(dependency::log4cpp INTERFACE "${LOG4CPP_LIBRARY}" ws2_32)

# What libarchive reads compressed files with, in the order that a static link needs.
find_package(LibArchive REQUIRED)
find_package(ZLIB REQUIRED)
find_package(BZip2 REQUIRED)
find_package(LibLZMA REQUIRED)
find_library(ZSTD_LIBRARY NAMES zstd zstd_static REQUIRED)
find_library(LZ4_LIBRARY lz4 REQUIRED)
add_library(dependency::libarchive INTERFACE IMPORTED)
target_link_libraries(dependency::libarchive INTERFACE LibArchive::LibArchive LibLZMA::LibLZMA
                      "${ZSTD_LIBRARY}" "${LZ4_LIBRARY}" BZip2::BZip2 ZLIB::ZLIB)
target_compile_definitions(dependency::libarchive INTERFACE LIBARCHIVE_STATIC)

find_package(CLI11 CONFIG REQUIRED)
find_package(nlohmann_json CONFIG REQUIRED)
add_library(dependency::cli11 ALIAS CLI11::CLI11)
add_library(dependency::json ALIAS nlohmann_json::nlohmann_json)
