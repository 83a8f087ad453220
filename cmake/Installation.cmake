# What `cmake --install` puts where. The default component is what a user of the tool needs;
# "dev" is what a program that links the library needs.
include(GNUInstallDirs)

install(TARGETS sourcetype sourcetype-inspect RUNTIME)
install(FILES README.md CHANGELOG.md SECURITY.md LICENSE DESTINATION "${CMAKE_INSTALL_DOCDIR}")
install(DIRECTORY docs DESTINATION "${CMAKE_INSTALL_DOCDIR}"
        FILES_MATCHING PATTERN "*.md" PATTERN "*.svg" PATTERN man EXCLUDE)

# The configuration goes by the prefix of the installation, which is known only then.
configure_file(cmake/install_configuration.cmake.in install_configuration.cmake @ONLY)
install(SCRIPT "${PROJECT_BINARY_DIR}/install_configuration.cmake")

# The Windows build is one file and links static libraries that nobody else has.
if(WIN32)
  return()
endif()

find_program(PERL perl REQUIRED)
configure_file(cmake/install_documents.cmake.in install_documents.cmake @ONLY)
install(SCRIPT "${PROJECT_BINARY_DIR}/install_documents.cmake")

# A program that links the library writes #include "conf/conf_store.h", as the sources here do.
set(header_directory "${CMAKE_INSTALL_INCLUDEDIR}/sourcetype")
target_include_directories(sourcetype_core INTERFACE "$<INSTALL_INTERFACE:${header_directory}>")
foreach(layer platform util charset conf timestamp classifier)
  install(DIRECTORY "src/${layer}" DESTINATION "${header_directory}" COMPONENT dev
          FILES_MATCHING PATTERN "*.h" PATTERN "*windows*.h" EXCLUDE)
endforeach()
install(TARGETS sourcetype_core EXPORT sourcetype ARCHIVE COMPONENT dev)

include(CMakePackageConfigHelpers)
set(package_directory "${CMAKE_INSTALL_LIBDIR}/cmake/sourcetype")
set(package_files "${PROJECT_BINARY_DIR}/package_files")
configure_file(cmake/sourcetypeConfig.cmake.in "${package_files}/sourcetypeConfig.cmake" @ONLY)
# Before 1.0 a minor version may change the headers.
write_basic_package_version_file("${package_files}/sourcetypeConfigVersion.cmake"
                                 COMPATIBILITY SameMinorVersion)
install(EXPORT sourcetype NAMESPACE sourcetype:: FILE sourcetypeTargets.cmake
        DESTINATION "${package_directory}" COMPONENT dev)
install(FILES "${package_files}/sourcetypeConfig.cmake"
              "${package_files}/sourcetypeConfigVersion.cmake" cmake/Dependencies.cmake
        DESTINATION "${package_directory}" COMPONENT dev)
