# What differs between the packages; read by cpack before it makes each of them.
set(CPACK_PRE_BUILD_SCRIPTS "${CPACK_SOURCETYPE_PACKAGING}/settle.cmake")
if(CPACK_GENERATOR STREQUAL "DEB")
  # Installed with the prefix that it will have, since that decides where the configuration goes.
  set(CPACK_SET_DESTDIR ON)
  set(CPACK_INSTALL_PREFIX /usr)
  list(PREPEND CPACK_PRE_BUILD_SCRIPTS "${CPACK_SOURCETYPE_PACKAGING}/debian/prepare.cmake")
endif()
if(CPACK_GENERATOR STREQUAL "TGZ")
  set(CPACK_COMPONENT_INCLUDE_TOPLEVEL_DIRECTORY ON)
endif()
