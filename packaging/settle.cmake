# Frees the tree from when and by whom it was installed: from the umask and, with SOURCE_DATE_EPOCH
# (seconds since 1970), from the time. Run by cpack last before it packs the tree.
execute_process(COMMAND chmod -R u=rwX,go=rX "${CPACK_TEMPORARY_DIRECTORY}"
                COMMAND_ERROR_IS_FATAL ANY)
if(DEFINED ENV{SOURCE_DATE_EPOCH})
  execute_process(COMMAND find "${CPACK_TEMPORARY_DIRECTORY}" -exec
                          touch --no-dereference "--date=@$ENV{SOURCE_DATE_EPOCH}" {} +
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
