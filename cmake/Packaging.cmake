# The packages that `cpack` makes of an installation: a Debian package and a tar.gz that runs from
# wherever it is unpacked (docs/packages.md). The zip for Windows is tools/windows/package.sh's.
if(WIN32)
  return()
endif()

set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_NAME sourcetype)
set(CPACK_PACKAGE_CONTACT "sourcetype developers <developers@sourcetype.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "tool that decides the sourcetype of a log file")
set(CPACK_PACKAGE_DIRECTORY "${PROJECT_BINARY_DIR}/packages")
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

# One package, without the component dev.
set(CPACK_COMPONENTS_ALL "${CMAKE_INSTALL_DEFAULT_COMPONENT_NAME}")
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL ON)

string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" system_name)
set(CPACK_ARCHIVE_FILE_NAME "sourcetype-${PROJECT_VERSION}-${system_name}")
set(CPACK_PACKAGE_FILE_NAME "${CPACK_ARCHIVE_FILE_NAME}")

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"The sourcetype of a log file is the label under which a log-indexing server
parses it: how its lines become events, where the timestamp stands and which
fields can be extracted. Given a file, this tool answers with its sourcetype.
.
More than eighty common formats are known from the start; others are learned
from one example. A file that nothing recognises gets a new sourcetype with
settings of its own.")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA "${PROJECT_SOURCE_DIR}/packaging/debian/postrm"
                                       "${PROJECT_BINARY_DIR}/packages/conffiles")

set(CPACK_PROJECT_CONFIG_FILE "${PROJECT_SOURCE_DIR}/packaging/generator.cmake")
set(CPACK_SOURCETYPE_PACKAGING "${PROJECT_SOURCE_DIR}/packaging")
set(CPACK_SOURCETYPE_STRIP "${CMAKE_STRIP}")
include(CPack)
