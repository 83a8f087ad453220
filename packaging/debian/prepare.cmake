# Makes of an installed tree what Debian wants of a package; run by cpack before it packs the tree.
set(root "${CPACK_TEMPORARY_DIRECTORY}/ALL_COMPONENTS_IN_ONE")
set(debian "${CPACK_SOURCETYPE_PACKAGING}/debian")
set(doc "${root}/usr/share/doc/sourcetype")

# The text of the licence has its place in Debian; `copyright` says where.
file(REMOVE "${doc}/LICENSE")
find_program(PERL perl REQUIRED)
execute_process(COMMAND "${PERL}" "${CPACK_SOURCETYPE_PACKAGING}/../tools/check_links.pl" --settle
                        "${doc}"
                COMMAND_ERROR_IS_FATAL ANY)
file(COPY "${debian}/copyright" DESTINATION "${doc}")
configure_file("${debian}/lintian-overrides" "${root}/usr/share/lintian/overrides/sourcetype"
               COPYONLY)

# The time is that of SOURCE_DATE_EPOCH, where it is set.
string(TIMESTAMP now "%a, %d %b %Y %H:%M:%S +0000" UTC)
file(WRITE "${doc}/changelog"
"sourcetype (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * What changed is in CHANGELOG.md.

 -- ${CPACK_PACKAGE_CONTACT}  ${now}
")
execute_process(COMMAND gzip -9n "${doc}/changelog" COMMAND_ERROR_IS_FATAL ANY)

execute_process(COMMAND "${CPACK_SOURCETYPE_STRIP}" --remove-section=.comment
                        "${root}/usr/bin/sourcetype"
                COMMAND_ERROR_IS_FATAL ANY)

# Every file of the configuration may be changed by hand; dpkg then asks when it upgrades.
file(GLOB_RECURSE configuration LIST_DIRECTORIES false RELATIVE "${root}" "${root}/etc/*")
if(NOT configuration)
  message(FATAL_ERROR "no configuration below ${root}/etc")
endif()
list(TRANSFORM configuration PREPEND "/")
list(JOIN configuration "\n" lines)
file(WRITE "${CPACK_PACKAGE_DIRECTORY}/conffiles" "${lines}\n")
